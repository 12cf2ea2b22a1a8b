#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <sstream>
#include <type_traits>
#include <typeindex>

#include "core/CallForms.h"
#include "storage/kvxclient.h"

// Every record of the library, field by field, and the calls that take the requests.

using namespace storage::kvxclient;

namespace {

template <class Record>
concept Comparable = requires(const Record& record) {
    record == record;
};

template <class Record>
concept HasWithResource = requires(Record record) {
    record.withResource(Resource());
};

enum Kind {
    PLAIN,
    LEFT_OUT,  // Equality does not look at the field.
    APPENDED   // Setting the field again adds to it.
};

template <class Value>
bool alike(const Value& a, const Value& b) {
    if constexpr (Comparable<Value>) {
        return a == b;
    } else {
        return a.getName() == b.getName();  // FolderSummary.
    }
}

template <class Value>
bool alike(const std::vector<Value>& a, const std::vector<Value>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Value& x, const Value& y) { return alike(x, y); });
}

// Optional fields are set with a plain value.
template <class Value>
const Value& plain(const Value& value) {
    return value;
}
template <class Value>
const Value& plain(const std::optional<Value>& value) {
    return *value;
}

// Another value of the same size, or as present, where the type has one; else the value itself.
template <class Value>
Value sibling(Value value) {
    if constexpr (requires { *value = sibling(*value); }) {
        *value = sibling(*value);
    } else if constexpr (std::is_enum_v<Value> || std::is_integral_v<Value>) {
        value = static_cast<Value>(static_cast<unsigned long>(value) ^ 1);
    } else if constexpr (requires { value.append(value); }) {
        value.back() = sibling(value.back());
    } else if constexpr (requires { value.setPath(value.getPath()); }) {
        value.setPath(sibling(value.getPath()));
    } else if constexpr (requires { value.withSharedTrash(true); }) {
        value.withSharedTrash(!value.getSharedTrash());
    }
    return value;
}

// Apart from the templates, so that it compiles once.
void reportUnless(bool holds, const std::type_info& type, std::size_t field, const char* fault) {
    EXPECT_TRUE(holds) << testing::internal::GetTypeName(type) << ": field " << field << ' '
                       << fault;
}

enum Which { START, VALUE, SIBLING };

// A field of a record, with the values that are tried.
template <class Record>
struct Field {
    virtual ~Field() = default;
    virtual Record& set(Record& record, Which which) const = 0;
    virtual bool is(const Record& record, Which which) const = 0;
    Kind kind = PLAIN;
    bool hasSibling = false;
};

template <class Record, class Setter, class Getter, class Value>
struct FieldOf final : Field<Record> {
    FieldOf(Setter setter, Getter getter, const Value& start, const Value& value,
            const Value& sibling)
        : setter_(setter), getter_(getter), values_{start, value, sibling} {
        this->hasSibling = !alike(value, sibling);
    }
    Record& set(Record& record, Which which) const override {
        return std::invoke(setter_, record, plain(values_[which]));
    }
    bool is(const Record& record, Which which) const override {
        return alike(std::invoke(getter_, record), values_[which]);
    }
    const Setter setter_;
    const Getter getter_;
    const Value values_[3];
};

// The records that are checked; filled before any test runs.
std::set<std::type_index>& checked() {
    static std::set<std::type_index> types;
    return types;
}
template <class Record>
const bool listed = checked().insert(typeid(Record)).second;

// Checks the fields of one record, starting from what `arguments` construct.
template <class Record>
class Check {
public:
    template <class... Arguments>
    explicit Check(const Arguments&... arguments) : new_(arguments...), full_(new_) {
        expect(listed<Record>, "is listed twice");
        if constexpr (Comparable<Record>) {
            expect(new_ == new_, "is not equal to itself");
            expect((new_ == full_) != std::is_empty_v<Record>, "is not equal to a copy");
        }
    }
    Check(const Check&) = delete;
    ~Check() {
        for (field_ = 0; field_ < fields_.size(); ++field_) {
            tryField(*fields_[field_]);
        }
        tryOperationsOf(full_);
    }

    template <class Setter, class Getter, class Value>
    Check& field(Setter set, Getter get, const Value& value, const Value& start = Value(),
                 Kind kind = PLAIN) {
        return add(set, get, start, value, sibling(value), kind);
    }

    // A list: a field whose order counts too.
    template <class Setter, class Getter, class Value>
    Check& list(Setter set, Getter get, const Value& one, const Value& other) {
        using List = std::vector<Value>;
        return add(set, get, List(), List{one, other}, List{other, one}, PLAIN);
    }

    // A field that only the constructor sets.
    template <class Getter, class Value>
    Check& fixed(Getter get, const Value& value) {
        expect(alike(std::invoke(get, new_), value), "is not what it was made with");
        return *this;
    }

private:
    template <class Setter, class Getter, class Value>
    Check& add(Setter set, Getter get, const Value& start, const Value& value, const Value& sibling,
               Kind kind) {
        fields_.emplace_back(
            new FieldOf<Record, Setter, Getter, Value>(set, get, start, value, sibling));
        fields_.back()->kind = kind;
        return *this;
    }

    // It starts as it should; another value survives copies and moves, replaces one of the same
    // size, leaves the other fields alone, and makes the record unequal.
    void tryField(const Field<Record>& field) {
        Record changed = new_;
        expect(field.is(changed, START), "does not start as it should");
        expect(&changed == &field.set(changed, VALUE), "does not chain");
        for (const auto& other : fields_) {
            expect(other.get() == &field || other->is(changed, START), "touches another field");
        }
        Record copy = changed;
        const Record moved = std::move(copy);
        copy = new_;
        copy = moved;
        expect(field.is(copy, VALUE), "gets lost");
        Record replaced = new_;
        field.set(replaced, SIBLING);
        const Record similar = replaced;
        field.set(replaced, VALUE);
        expect(field.is(replaced, VALUE) == (field.kind != APPENDED), "does not replace");
        if constexpr (Comparable<Record>) {
            const bool leftOut = field.kind == LEFT_OUT;
            expect(changed == moved, "makes copies unequal");
            expect((new_ == changed) == leftOut && (changed == new_) == leftOut, "in equality");
            expect((changed == similar) == (leftOut || !field.hasSibling), "in equality by size");
        }
        field.set(full_, VALUE);
    }

    void expect(bool holds, const char* fault) const {
        reportUnless(holds, typeid(Record), field_, fault);
    }

    const Record new_;
    Record full_;  // With every field set.
    std::vector<std::unique_ptr<Field<Record>>> fields_;
    std::size_t field_ = 0;
};

#define FIELD(Record, Name, ...) field(&Record::with##Name, &Record::get##Name, __VA_ARGS__)
#define LIST(Record, Name, ...) list(&Record::with##Name, &Record::get##Name, __VA_ARGS__)
#define RENAMED(Record, set, get, ...) field(&Record::set, &Record::get, __VA_ARGS__)

// Long enough to need memory, so that a copy shows.
const std::u16string wide = u"a text of some length";
const std::string text = "a text of some length";
const Resource resource(u"/a/path/of/some/length", u"a bucket with a name of some length");
const std::chrono::system_clock::time_point aTime{std::chrono::nanoseconds(1)};
const auto aFolder = FolderSummary(u"folder");
const auto aFile = FileSummary(u"file");
const std::vector<FolderSummary> folders{aFolder};
const std::vector<FileSummary> files{aFile};
const auto aProfile = UserProfile().withUserId(u"id");
const auto anInvitation =
    Invitation().withInvitationId("id").withAccessType(AccessType::OWNER).withHasActiveLink(true);

template <class Record>
void checkRequestFor(const Check<Record>&) {
    EXPECT_EQ(resource, Record(resource).getResource());
    EXPECT_FALSE(Record(resource) == Record(Resource(u"/a", u"bucket")));
    static_assert(!std::is_default_constructible_v<Record> && !HasWithResource<Record>);
    static_assert(std::is_convertible_v<Resource, Record>);
}

TEST(Records, ofTheSession) {
    Check<LoginRequest>().FIELD(LoginRequest, Token, text);
    Check<LoginResponse>()
        .FIELD(LoginResponse, SessionId, text)
        .FIELD(LoginResponse, MinutesBeforeRelogin, 60);
    Check<PingResponse>().FIELD(PingResponse, Value, text);
    static_assert(!Comparable<PingResponse>);
    tryOperationsOf(storage::kvxtransport::PingRequest());
}

TEST(Records, withoutContentAreEqualOnlyToThemselves) {
    Check<LogoutRequest>();
    Check<LogoutResponse>();
    Check<StorageUsageGetRequest>();
    Check<FolderCreateResponse>();
    Check<MoveOrCopyResponse>();
    Check<SetMetadataResponse>();
    Check<InvitationDeleteResponse>();
    Check<InvitationCopyFolderResponse>();
    Check<PermissionRevokeResponse>();
    Check<ResourcePolicySetResponse>();
    Check<FileHandleCloseResponse>();
    static_assert(!Comparable<FileHandleCloseResponse>);
}

TEST(Records, summaries) {
    Check<FileSummary>()
        .FIELD(FileSummary, Name, wide)
        .FIELD(FileSummary, Size, ~0UL)
        .FIELD(FileSummary, Created, aTime)
        .FIELD(FileSummary, LastModified, aTime)
        .FIELD(FileSummary, ClientLastModified, aTime)
        .RENAMED(FileSummary, withWritable, isWritable, true)
        .FIELD(FileSummary, Watermark, text);
    EXPECT_EQ(FileSummary().withName(u"a.txt"), FileSummary(u"a.txt"));
    Check<FolderSummary>()
        .FIELD(FolderSummary, Name, wide)
        .FIELD(FolderSummary, Created, aTime)
        .FIELD(FolderSummary, LastModified, aTime)
        .FIELD(FolderSummary, ClientLastModified, aTime)
        .RENAMED(FolderSummary, withWritable, isWritable, true)
        .FIELD(FolderSummary, Watermark, text)
        .RENAMED(FolderSummary, withSharedFolder, isSharedFolder, true)
        .FIELD(FolderSummary, AccessType, AccessType::OWNER)
        .FIELD(FolderSummary, Invitation, anInvitation)
        .FIELD(FolderSummary, HasActiveLink, true);
    EXPECT_FALSE(
        FolderSummary().withInvitation(Invitation().withHasActiveLink(true)).getHasActiveLink());
    EXPECT_EQ(wide, FolderSummary(wide).getName());
    static_assert(!Comparable<FolderSummary>);
    Check<FileAttributes>()
        .FIELD(FileAttributes, Type, text)
        .FIELD(FileAttributes, Name, wide)
        .FIELD(FileAttributes, Created, aTime)
        .FIELD(FileAttributes, LastModified, aTime)
        .FIELD(FileAttributes, ClientLastModified, aTime)
        .FIELD(FileAttributes, Size, ~0UL)
        .FIELD(FileAttributes, Writable, true)
        .FIELD(FileAttributes, Watermark, text)
        .FIELD(FileAttributes, Shareable, true)
        .RENAMED(FileAttributes, withSharedFolder, isSharedFolder, true)
        .FIELD(FileAttributes, AccessType, AccessType::OWNER);
    const auto checkDeleted = [](auto check) {
        using Record = typename decltype(check)::type;
        Check<Record>()
            .FIELD(Record, ParentResource, resource)
            .FIELD(Record, DeletedDate, aTime)
            .FIELD(Record, Tombstone, text)
            .FIELD(Record, SharedTrash, true);
    };
    checkDeleted(std::type_identity<DeletedFileSummary>());
    checkDeleted(std::type_identity<DeletedFolderSummary>());
    static_assert(!std::equality_comparable_with<DeletedFileSummary, DeletedFolderSummary>);
}

TEST(Records, ofListings) {
    checkRequestFor(Check<FolderListRequest>(resource)
                        .FIELD(FolderListRequest, ShowHidden, true)
                        .FIELD(FolderListRequest, ShowShared, true)
                        .FIELD(FolderListRequest, IncludeInvitations, true));
    checkRequestFor(
        Check<MultiFolderListRequest>(resource).FIELD(MultiFolderListRequest, ShowShared, true));
    checkRequestFor(Check<FileAttributesReadRequest>(resource).FIELD(FileAttributesReadRequest,
                                                                     SharingMetadata, true));
    Check<FolderListResponse>()
        .FIELD(FolderListResponse, FolderSummary, aFolder)
        .FIELD(FolderListResponse, Folders, folders)
        .FIELD(FolderListResponse, Files, files);
    EXPECT_EQ(u"folder", FolderListResponse(aFolder).getFolderSummary().getName());
    Check<ResourceAndFolderList>(resource)
        .fixed(&ResourceAndFolderList::getParentResource, resource)
        .FIELD(ResourceAndFolderList, FolderSummary, aFolder)
        .FIELD(ResourceAndFolderList, Files, files)
        .FIELD(ResourceAndFolderList, Folders, folders);
    EXPECT_EQ(1u, MultiFolderListResponse()
                      .withFolders({ResourceAndFolderList(Resource())})
                      .withFolders({ResourceAndFolderList(resource)})
                      .getFolders()
                      .size());
    Check<FileAttributesReadResponse>().FIELD(FileAttributesReadResponse, FileAttributes,
                                              FileAttributes().withSize(1));
    static_assert(!Comparable<FolderListResponse> && !Comparable<ResourceAndFolderList> &&
                  !Comparable<MultiFolderListResponse>);
    static_assert(!std::is_default_constructible_v<ResourceAndFolderList>);
}

// Content is set by appending.
template <class Record>
Record& append(Record& record, const std::string& content) {
    record.appendContent(content.data(), content.size());
    return record;
}
template <class Record>
std::string body(const Record& record) {
    const auto bytes = record.getResponseBody();
    return {bytes.begin(), bytes.end()};
}

TEST(Records, ofTransfers) {
    checkRequestFor(Check<FileCreateRequest>(resource)
                        .field(
                            append<FileCreateRequest>,
                            [](const auto& r) {
                                return std::string(r.getContent().begin(), r.getContent().end());
                            },
                            text, std::string(), APPENDED)
                        .FIELD(FileCreateRequest, ContentType, text)
                        .FIELD(FileCreateRequest, CreateNewVersion, true));
    checkRequestFor(Check<FileReadRequest>(resource)
                        .FIELD(FileReadRequest, VersionId, text)
                        .FIELD(FileReadRequest, VersionLabel, 0, -1));
    Check<FileReadResponse>()
        .field(append<FileReadResponse>, body<FileReadResponse>, text, std::string(), APPENDED)
        .FIELD(FileReadResponse, ContentType, text)
        .fixed(&FileReadResponse::getResource, Resource());
    Check<FileWriteResponse>()
        .FIELD(FileWriteResponse, FileSummary, aFile)
        .FIELD(FileWriteResponse, VersionId, text)
        .FIELD(FileWriteResponse, VersionLabel, 0, -1);
    checkRequestFor(Check<FileDownloadCreateRequest>(resource));
    Check<FileDownloadCreateResponse>().FIELD(FileDownloadCreateResponse, Location, text);
    const auto factory = [] { return std::make_unique<std::stringstream>(); };
    Check<FileDownloadRequest>(text)
        .fixed(&FileDownloadRequest::getLocation, text)
        .field(
            [&](auto& r, bool) -> auto& { return r.withStreamFactory(factory); },
            [](const auto& r) { return r.getStreamFactory() != nullptr; }, true, false, LEFT_OUT)
        .FIELD(FileDownloadRequest, ReadIntoString, true);
    EXPECT_FALSE(FileDownloadRequest("a/b") == FileDownloadRequest("a/c"));
    static_assert(!std::is_default_constructible_v<FileDownloadRequest>);
    Check<FileDownloadResponse>().FIELD(FileDownloadResponse, StringBody, text);
}

TEST(Records, ofHandles) {
    checkRequestFor(Check<FileHandleReadOnlyCreateRequest>(resource)
                        .FIELD(FileHandleReadOnlyCreateRequest, VersionId, text)
                        .FIELD(FileHandleReadOnlyCreateRequest, VersionLabel, 0, -1));
    Check<FileHandleReadOnlyCreateResponse>()
        .FIELD(FileHandleReadOnlyCreateResponse, FileHandleId, text)
        .FIELD(FileHandleReadOnlyCreateResponse, FileSize, ~0UL);
    checkRequestFor(Check<FileHandleReadWriteCreateRequest>(resource)
                        .FIELD(FileHandleReadWriteCreateRequest, CreateMode, FileCreateMode::UPDATE)
                        .FIELD(FileHandleReadWriteCreateRequest, Truncate, true)
                        .FIELD(FileHandleReadWriteCreateRequest, ContentType, text));
    Check<FileHandleReadWriteCreateResponse>()
        .FIELD(FileHandleReadWriteCreateResponse, FileHandleId, text)
        .FIELD(FileHandleReadWriteCreateResponse, FileCreated, true)
        .FIELD(FileHandleReadWriteCreateResponse, FileSize, ~0UL);
    checkRequestFor(Check<FileContentReadRequest>(resource)
                        .FIELD(FileContentReadRequest, FileHandleId, text)
                        .FIELD(FileContentReadRequest, StartLocation, ~0UL)
                        .FIELD(FileContentReadRequest, Length, ~0UL));
    Check<FileContentReadResponse>()
        .field(append<FileContentReadResponse>, body<FileContentReadResponse>, text, std::string(),
               APPENDED)
        .FIELD(FileContentReadResponse, StartLocation, ~0UL)
        .FIELD(FileContentReadResponse, ContentType, text)
        .FIELD(FileContentReadResponse, FileSize, ~0UL);
    const unsigned char byte = 'x';
    checkRequestFor(
        Check<FileContentWriteRequest>(resource)
            .FIELD(FileContentWriteRequest, FileHandleId, text)
            .FIELD(FileContentWriteRequest, StartLocation, ~0UL)
            .field(
                [](auto& r, const unsigned char* data) -> auto& { return r.withContent(data, 1); },
                &FileContentWriteRequest::getContent, &byte));
    Check<FileContentWriteResponse>().FIELD(FileContentWriteResponse, FileSize, ~0UL);
    checkRequestFor(
        Check<FileHandleCloseRequest>(resource)
            .FIELD(FileHandleCloseRequest, FileHandleId, text)
            .FIELD(FileHandleCloseRequest, Operation, FileHandleCloseOperation::ABORT_CHANGES)
            .FIELD(FileHandleCloseRequest, CreateNewVersion, true));
}

TEST(Records, ofNamespaceAndMetadata) {
    checkRequestFor(
        Check<SetMetadataRequest>(resource).FIELD(SetMetadataRequest, ClientLastModified, aTime));
    checkRequestFor(Check<FolderCreateRequest>(resource));
    checkRequestFor(
        Check<FolderDeleteRequest>(resource).FIELD(FolderDeleteRequest, ForceRecursive, true));
    checkRequestFor(Check<FileDeleteRequest>(resource));
    Check<FolderDeleteResponse>().FIELD(FolderDeleteResponse, DeletedFolderSummary,
                                        std::optional(DeletedFolderSummary()));
    Check<FileDeleteResponse>().FIELD(FileDeleteResponse, DeletedFileSummary,
                                      std::optional(DeletedFileSummary()));
    const Resource target(u"/c", u"bucket");
    Check<MoveOrCopyRequest>(resource, target)
        .fixed(&MoveOrCopyRequest::getSource, resource)
        .fixed(&MoveOrCopyRequest::getTarget, target)
        .FIELD(MoveOrCopyRequest, TargetOverwrite, true);
    EXPECT_FALSE(MoveOrCopyRequest(resource, target) == MoveOrCopyRequest(target, resource));
    EXPECT_FALSE(MoveOrCopyRequest(resource, target) == MoveOrCopyRequest(resource, resource));
    static_assert(!std::is_default_constructible_v<MoveOrCopyRequest>);
}

TEST(Records, ofInvitations) {
    Check<UserProfile>()
        .FIELD(UserProfile, EmailAddress, wide)
        .FIELD(UserProfile, FirstName, wide)
        .FIELD(UserProfile, LastName, wide)
        .FIELD(UserProfile, UserId, wide)
        .FIELD(UserProfile, ProfileId, text);
    Check<Invitation>()
        .FIELD(Invitation, InvitationId, text)
        .FIELD(Invitation, Resource, resource)
        .FIELD(Invitation, AccessType, AccessType::OWNER)
        .FIELD(Invitation, InvitationType, InvitationType::PERSONAL)
        .FIELD(Invitation, Name, wide)
        .FIELD(Invitation, Tombstone, text)
        .FIELD(Invitation, Initiator, aProfile)
        .FIELD(Invitation, Recipient, aProfile)
        .RENAMED(Invitation, withInvitationStatus, getStatus, InvitationStatus::DECLINED)
        .FIELD(Invitation, Created, aTime)
        .FIELD(Invitation, LoginValidityDate, aTime)
        .FIELD(Invitation, HasActiveLink, true)
        .FIELD(Invitation, Application, text);
    checkRequestFor(Check<InvitationCreateRequest>(resource)
                        .FIELD(InvitationCreateRequest, Recipient, wide)
                        .FIELD(InvitationCreateRequest, AccessType, AccessType::OWNER));
    const auto recipient = [](std::u16string name) {
        return InvitationCreateRequest(Resource())
            .withRecipient(std::move(name))
            .getPercentEncodedRecipient();
    };
    EXPECT_EQ("", recipient(u""));
    EXPECT_EQ("a.b/c%20d%40%E2%82%AC", recipient(u"a.b/c d@€"));
    Check<InvitationReadRequest>()
        .fixed(&InvitationReadRequest::getResource, Resource())
        .FIELD(InvitationReadRequest, InvitationId, text);
    Check<InvitationUpdateRequest>()
        .FIELD(InvitationUpdateRequest, Resource, resource)
        .FIELD(InvitationUpdateRequest, InvitationId, text)
        .FIELD(InvitationUpdateRequest, Status, std::optional(InvitationStatus::DECLINED),
               std::optional(InvitationStatus::PENDING));
    Check<InvitationDeleteRequest>()
        .FIELD(InvitationDeleteRequest, Resource, resource)
        .FIELD(InvitationDeleteRequest, InvitationId, text);
    Check<InvitationListRequest>()
        .FIELD(InvitationListRequest, Resource, resource)
        .FIELD(InvitationListRequest, Status, std::optional(InvitationStatus::PENDING))
        .FIELD(InvitationListRequest, Type, std::optional(InvitationType::OPEN));
    Check<InvitationCopyFolderRequest>()
        .FIELD(InvitationCopyFolderRequest, Resource, resource)
        .FIELD(InvitationCopyFolderRequest, TargetResource, resource)
        .FIELD(InvitationCopyFolderRequest, InvitationId, text);
    Check<InvitationDetailsRequest>().FIELD(InvitationDetailsRequest, InvitationId, text);
    Check<InvitationCreateResponse>().FIELD(InvitationCreateResponse, Invitation, anInvitation);
    Check<InvitationReadResponse>().FIELD(InvitationReadResponse, Invitation, anInvitation);
    Check<InvitationUpdateResponse>().FIELD(InvitationUpdateResponse, Invitation, anInvitation);
    Check<InvitationDetailsResponse>().RENAMED(InvitationDetailsResponse, withInvitation,
                                               getInvitationDetails, anInvitation);
    Check<InvitationListResponse>().LIST(InvitationListResponse, Invitations, anInvitation,
                                         Invitation());
    Check<InvitationFolderContentRequest>()
        .FIELD(InvitationFolderContentRequest, Resource, resource)
        .FIELD(InvitationFolderContentRequest, InvitationId, text)
        .RENAMED(InvitationFolderContentRequest, withShowHidden, showHidden, true);
    Check<InvitationFolderContentResponse>()
        .FIELD(InvitationFolderContentResponse, FolderSummary, aFolder)
        .FIELD(InvitationFolderContentResponse, Folders, folders)
        .FIELD(InvitationFolderContentResponse, Files, files);
    EXPECT_EQ(u"folder", InvitationFolderContentResponse(aFolder).getFolderSummary().getName());
    static_assert(!Comparable<InvitationFolderContentResponse>);
}

TEST(Records, ofPermissions) {
    const auto subject = Subject().withSubjectName(wide);
    Check<Subject>().FIELD(Subject, SubjectName, wide);
    Check<Permission>()
        .FIELD(Permission, PermissionId, text)
        .FIELD(Permission, Subject, wide)
        .FIELD(Permission, Resource, resource)
        .FIELD(Permission, Operation, text)
        .FIELD(Permission, Status, text);
    checkRequestFor(Check<PermissionGrantRequest>(resource)
                        .FIELD(PermissionGrantRequest, Subject, subject)
                        .FIELD(PermissionGrantRequest, Operation, Operation::READ_WRITE)
                        .FIELD(PermissionGrantRequest, AllowNonExistingUser, true));
    Check<PermissionGrantResponse>().FIELD(PermissionGrantResponse, PermissionId, text);
    checkRequestFor(Check<PermissionRevokeRequest>(resource).FIELD(PermissionRevokeRequest,
                                                                   PermissionId, text));
    checkRequestFor(Check<PermissionListRequest>(resource));
    Check<PermissionListResponse>().LIST(PermissionListResponse, Permissions,
                                         Permission().withSubject(wide), Permission());
}

TEST(Records, ofConfiguration) {
    const auto policy = ResourcePolicy().withVersionPolicy(VersionPolicy::ENABLED);
    Check<ResourcePolicy>()
        .FIELD(ResourcePolicy, VersionPolicy, VersionPolicy::ENABLED)
        .FIELD(ResourcePolicy, PublicAccessPolicy, static_cast<PublicAccessPolicy>(-7));
    Check<StorageUsageGetResponse>()
        .FIELD(StorageUsageGetResponse, UsageQuota, ~0UL)
        .FIELD(StorageUsageGetResponse, StorageUsage, ~0UL);
    Check<ResourcePolicyGetRequest>().FIELD(ResourcePolicyGetRequest, Resource, resource);
    Check<ResourcePolicyGetResponse>()
        .FIELD(ResourcePolicyGetResponse, Policy, policy)
        .FIELD(ResourcePolicyGetResponse, EffectivePolicy, policy);
    Check<ResourcePolicySetRequest>()
        .FIELD(ResourcePolicySetRequest, Resource, resource)
        .FIELD(ResourcePolicySetRequest, ResourcePolicy, policy);
}

TEST(Records, ofChangesAndVersions) {
    const std::vector changes{FileChangeSummary().withWatermark("1"),
                              FileChangeSummary().withWatermark("2")};
    Check<FileChangeListRequest>().FIELD(FileChangeListRequest, Watermark, text);
    Check<FileChangeSummary>()
        .FIELD(FileChangeSummary, Resource, resource)
        .FIELD(FileChangeSummary, Watermark, text);
    Check<FileChangeListResponse>()
        .FIELD(FileChangeListResponse, CurrentWatermark, text)
        .LIST(FileChangeListResponse, FileChanges, changes[0], changes[1])
        .LIST(FileChangeListResponse, FolderChanges, changes[0], changes[1]);

    checkRequestFor(Check<VersionListRequest>(resource));
    Check<VersionSummary>()
        .FIELD(VersionSummary, VersionId, text)
        .FIELD(VersionSummary, Created, aTime)
        .FIELD(VersionSummary, VersionLabel, 0, -1);
    Check<VersionListResponse>()
        .FIELD(VersionListResponse, Name, wide)
        .LIST(VersionListResponse, Versions, VersionSummary(),
              VersionSummary().withVersionLabel(1));
    checkRequestFor(Check<VersionRestoreRequest>(resource)
                        .FIELD(VersionRestoreRequest, VersionId, text)
                        .FIELD(VersionRestoreRequest, VersionLabel, 0, -1)
                        .FIELD(VersionRestoreRequest, CreateNewVersion, true));
    Check<VersionRestoreResponse>()
        .FIELD(VersionRestoreResponse, VersionId, text)
        .FIELD(VersionRestoreResponse, VersionLabel, 0, -1);
}

TEST(Records, coverTheRequestOfEveryOperation) {
    storage::kvxtransport::forEachOperation([](auto operation) {
        using Request = typename decltype(operation)::Request;
        EXPECT_TRUE(operation.name == "ping" || checked().contains(typeid(Request)))
            << operation.name;
    });
}

// What else must not exist.
static_assert(!HasWithResource<InvitationReadRequest> && !HasWithResource<FileReadResponse> &&
              !HasWithResource<ResourceAndFolderList> && !HasWithResource<MoveOrCopyRequest> &&
              HasWithResource<InvitationUpdateRequest>);
static_assert(!std::is_copy_constructible_v<KVXClient> && !std::is_copy_assignable_v<KVXClient>);
static_assert(std::is_copy_constructible_v<FolderListResponse> &&
              std::is_nothrow_move_constructible_v<FolderListResponse>);
static_assert(std::is_same_v<decltype(std::declval<FileCreateRequest>().getContent()),
                             const std::vector<char>&>);

}  // namespace
