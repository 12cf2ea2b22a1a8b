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

// A row of a table: what sets and gets a field, and the values by Which.
template <class Setter, class Getter, class Value>
struct Row {
    Setter set;
    Getter get;
    Value values[3];
    Kind kind = PLAIN;
};

template <class Setter, class Getter, class Value>
Row<Setter, Getter, Value> field(Setter set, Getter get, const Value& value,
                                 const Value& start = Value(), Kind kind = PLAIN) {
    return {set, get, {start, value, sibling(value)}, kind};
}

// A list: a field whose order counts too.
template <class Setter, class Getter, class Value>
Row<Setter, Getter, std::vector<Value>> list(Setter set, Getter get, const Value& one,
                                             const Value& other) {
    return {set, get, {{}, {one, other}, {other, one}}};
}

// A field that only the constructor sets.
template <class Getter, class Value>
struct Fixed {
    Getter get;
    Value value;
};

template <class Getter, class Value>
Fixed<Getter, Value> fixed(Getter get, const Value& value) {
    return {get, value};
}

template <class Record, class Row>
struct FieldOf final : Field<Record> {
    explicit FieldOf(const Row& row) : row_(row) {
        this->kind = row.kind;
        this->hasSibling = !alike(row.values[VALUE], row.values[SIBLING]);
    }
    Record& set(Record& record, Which which) const override {
        return std::invoke(row_.set, record, plain(row_.values[which]));
    }
    bool is(const Record& record, Which which) const override {
        return alike(std::invoke(row_.get, record), row_.values[which]);
    }
    const Row row_;
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

    template <class... Rows>
    Check& with(const Rows&... rows) {
        (add(rows), ...);
        return *this;
    }

private:
    template <class Setter, class Getter, class Value>
    void add(const Row<Setter, Getter, Value>& row) {
        fields_.emplace_back(new FieldOf<Record, Row<Setter, Getter, Value>>(row));
    }
    template <class Getter, class Value>
    void add(const Fixed<Getter, Value>& fixed) {
        expect(alike(fixed.get(new_), fixed.value), "is not what it was made with");
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

#define SETTER(set) \
    [](auto& r, const auto& value) -> auto& { return r.set(value); }
#define GETTER(get) [](const auto& r) -> decltype(auto) { return r.get(); }
#define RENAMED(set, get, ...) field(SETTER(set), GETTER(get), __VA_ARGS__)
#define FIELD(Name, ...) RENAMED(with##Name, get##Name, __VA_ARGS__)
#define LIST(Name, ...) list(SETTER(with##Name), GETTER(get##Name), __VA_ARGS__)
#define FIXED(Name, ...) fixed(GETTER(get##Name), __VA_ARGS__)

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
    Check<LoginRequest>().with(FIELD(Token, text));
    Check<LoginResponse>().with(FIELD(SessionId, text), FIELD(MinutesBeforeRelogin, 60));
    Check<PingResponse>().with(FIELD(Value, text));
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
    Check<FileSummary>().with(FIELD(Name, wide), FIELD(Size, ~0UL), FIELD(Created, aTime),
                              FIELD(LastModified, aTime), FIELD(ClientLastModified, aTime),
                              RENAMED(withWritable, isWritable, true), FIELD(Watermark, text));
    EXPECT_EQ(FileSummary().withName(u"a.txt"), FileSummary(u"a.txt"));
    Check<FolderSummary>().with(FIELD(Name, wide), FIELD(Created, aTime),
                                FIELD(LastModified, aTime), FIELD(ClientLastModified, aTime),
                                RENAMED(withWritable, isWritable, true), FIELD(Watermark, text),
                                RENAMED(withSharedFolder, isSharedFolder, true),
                                FIELD(AccessType, AccessType::OWNER),
                                FIELD(Invitation, anInvitation), FIELD(HasActiveLink, true));
    EXPECT_FALSE(
        FolderSummary().withInvitation(Invitation().withHasActiveLink(true)).getHasActiveLink());
    EXPECT_EQ(wide, FolderSummary(wide).getName());
    static_assert(!Comparable<FolderSummary>);
    Check<FileAttributes>().with(
        FIELD(Type, text), FIELD(Name, wide), FIELD(Created, aTime), FIELD(LastModified, aTime),
        FIELD(ClientLastModified, aTime), FIELD(Size, ~0UL), FIELD(Writable, true),
        FIELD(Watermark, text), FIELD(Shareable, true),
        RENAMED(withSharedFolder, isSharedFolder, true), FIELD(AccessType, AccessType::OWNER));
    const auto checkDeleted = [](auto check) {
        using Record = typename decltype(check)::type;
        Check<Record>().with(FIELD(ParentResource, resource), FIELD(DeletedDate, aTime),
                             FIELD(Tombstone, text), FIELD(SharedTrash, true));
    };
    checkDeleted(std::type_identity<DeletedFileSummary>());
    checkDeleted(std::type_identity<DeletedFolderSummary>());
    static_assert(!std::equality_comparable_with<DeletedFileSummary, DeletedFolderSummary>);
}

TEST(Records, ofListings) {
    checkRequestFor(Check<FolderListRequest>(resource).with(
        FIELD(ShowHidden, true), FIELD(ShowShared, true), FIELD(IncludeInvitations, true)));
    checkRequestFor(Check<MultiFolderListRequest>(resource).with(FIELD(ShowShared, true)));
    checkRequestFor(Check<FileAttributesReadRequest>(resource).with(FIELD(SharingMetadata, true)));
    Check<FolderListResponse>().with(FIELD(FolderSummary, aFolder), FIELD(Folders, folders),
                                     FIELD(Files, files));
    EXPECT_EQ(u"folder", FolderListResponse(aFolder).getFolderSummary().getName());
    Check<ResourceAndFolderList>(resource).with(FIXED(ParentResource, resource),
                                                FIELD(FolderSummary, aFolder), FIELD(Files, files),
                                                FIELD(Folders, folders));
    EXPECT_EQ(1u, MultiFolderListResponse()
                      .withFolders({ResourceAndFolderList(Resource())})
                      .withFolders({ResourceAndFolderList(resource)})
                      .getFolders()
                      .size());
    Check<FileAttributesReadResponse>().with(FIELD(FileAttributes, FileAttributes().withSize(1)));
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
    checkRequestFor(Check<FileCreateRequest>(resource).with(
        field(
            append<FileCreateRequest>,
            [](const auto& r) { return std::string(r.getContent().begin(), r.getContent().end()); },
            text, std::string(), APPENDED),
        FIELD(ContentType, text), FIELD(CreateNewVersion, true)));
    checkRequestFor(
        Check<FileReadRequest>(resource).with(FIELD(VersionId, text), FIELD(VersionLabel, 0, -1)));
    Check<FileReadResponse>().with(
        field(append<FileReadResponse>, body<FileReadResponse>, text, std::string(), APPENDED),
        FIELD(ContentType, text), FIXED(Resource, Resource()));
    Check<FileWriteResponse>().with(FIELD(FileSummary, aFile), FIELD(VersionId, text),
                                    FIELD(VersionLabel, 0, -1));
    checkRequestFor(Check<FileDownloadCreateRequest>(resource));
    Check<FileDownloadCreateResponse>().with(FIELD(Location, text));
    const auto factory = [] { return std::make_unique<std::stringstream>(); };
    Check<FileDownloadRequest>(text).with(
        FIXED(Location, text),
        field(
            [&](auto& r, bool) -> auto& { return r.withStreamFactory(factory); },
            [](const auto& r) { return r.getStreamFactory() != nullptr; }, true, false, LEFT_OUT),
        FIELD(ReadIntoString, true));
    EXPECT_FALSE(FileDownloadRequest("a/b") == FileDownloadRequest("a/c"));
    static_assert(!std::is_default_constructible_v<FileDownloadRequest>);
    Check<FileDownloadResponse>().with(FIELD(StringBody, text));
}

TEST(Records, ofHandles) {
    checkRequestFor(Check<FileHandleReadOnlyCreateRequest>(resource).with(
        FIELD(VersionId, text), FIELD(VersionLabel, 0, -1)));
    Check<FileHandleReadOnlyCreateResponse>().with(FIELD(FileHandleId, text),
                                                   FIELD(FileSize, ~0UL));
    checkRequestFor(Check<FileHandleReadWriteCreateRequest>(resource).with(
        FIELD(CreateMode, FileCreateMode::UPDATE), FIELD(Truncate, true),
        FIELD(ContentType, text)));
    Check<FileHandleReadWriteCreateResponse>().with(
        FIELD(FileHandleId, text), FIELD(FileCreated, true), FIELD(FileSize, ~0UL));
    checkRequestFor(Check<FileContentReadRequest>(resource).with(
        FIELD(FileHandleId, text), FIELD(StartLocation, ~0UL), FIELD(Length, ~0UL)));
    Check<FileContentReadResponse>().with(
        field(append<FileContentReadResponse>, body<FileContentReadResponse>, text, std::string(),
              APPENDED),
        FIELD(StartLocation, ~0UL), FIELD(ContentType, text), FIELD(FileSize, ~0UL));
    const unsigned char byte = 'x';
    checkRequestFor(Check<FileContentWriteRequest>(resource).with(
        FIELD(FileHandleId, text), FIELD(StartLocation, ~0UL),
        field(
            [](auto& r, const unsigned char* data) -> auto& { return r.withContent(data, 1); },
            &FileContentWriteRequest::getContent, &byte)));
    Check<FileContentWriteResponse>().with(FIELD(FileSize, ~0UL));
    checkRequestFor(Check<FileHandleCloseRequest>(resource).with(
        FIELD(FileHandleId, text), FIELD(Operation, FileHandleCloseOperation::ABORT_CHANGES),
        FIELD(CreateNewVersion, true)));
}

TEST(Records, ofNamespaceAndMetadata) {
    checkRequestFor(Check<SetMetadataRequest>(resource).with(FIELD(ClientLastModified, aTime)));
    checkRequestFor(Check<FolderCreateRequest>(resource));
    checkRequestFor(Check<FolderDeleteRequest>(resource).with(FIELD(ForceRecursive, true)));
    checkRequestFor(Check<FileDeleteRequest>(resource));
    Check<FolderDeleteResponse>().with(
        FIELD(DeletedFolderSummary, std::optional(DeletedFolderSummary())));
    Check<FileDeleteResponse>().with(
        FIELD(DeletedFileSummary, std::optional(DeletedFileSummary())));
    const Resource target(u"/c", u"bucket");
    Check<MoveOrCopyRequest>(resource, target)
        .with(FIXED(Source, resource), FIXED(Target, target), FIELD(TargetOverwrite, true));
    EXPECT_FALSE(MoveOrCopyRequest(resource, target) == MoveOrCopyRequest(target, resource));
    EXPECT_FALSE(MoveOrCopyRequest(resource, target) == MoveOrCopyRequest(resource, resource));
    static_assert(!std::is_default_constructible_v<MoveOrCopyRequest>);
}

TEST(Records, ofInvitations) {
    Check<UserProfile>().with(FIELD(EmailAddress, wide), FIELD(FirstName, wide),
                              FIELD(LastName, wide), FIELD(UserId, wide), FIELD(ProfileId, text));
    Check<Invitation>().with(
        FIELD(InvitationId, text), FIELD(Resource, resource), FIELD(AccessType, AccessType::OWNER),
        FIELD(InvitationType, InvitationType::PERSONAL), FIELD(Name, wide), FIELD(Tombstone, text),
        FIELD(Initiator, aProfile), FIELD(Recipient, aProfile),
        RENAMED(withInvitationStatus, getStatus, InvitationStatus::DECLINED), FIELD(Created, aTime),
        FIELD(LoginValidityDate, aTime), FIELD(HasActiveLink, true), FIELD(Application, text));
    checkRequestFor(Check<InvitationCreateRequest>(resource).with(
        FIELD(Recipient, wide), FIELD(AccessType, AccessType::OWNER)));
    const auto recipient = [](std::u16string name) {
        return InvitationCreateRequest(Resource())
            .withRecipient(std::move(name))
            .getPercentEncodedRecipient();
    };
    EXPECT_EQ("", recipient(u""));
    EXPECT_EQ("a.b/c%20d%40%E2%82%AC", recipient(u"a.b/c d@€"));
    Check<InvitationReadRequest>().with(FIXED(Resource, Resource()), FIELD(InvitationId, text));
    Check<InvitationUpdateRequest>().with(FIELD(Resource, resource), FIELD(InvitationId, text),
                                          FIELD(Status, std::optional(InvitationStatus::DECLINED),
                                                std::optional(InvitationStatus::PENDING)));
    Check<InvitationDeleteRequest>().with(FIELD(Resource, resource), FIELD(InvitationId, text));
    Check<InvitationListRequest>().with(FIELD(Resource, resource),
                                        FIELD(Status, std::optional(InvitationStatus::PENDING)),
                                        FIELD(Type, std::optional(InvitationType::OPEN)));
    Check<InvitationCopyFolderRequest>().with(
        FIELD(Resource, resource), FIELD(TargetResource, resource), FIELD(InvitationId, text));
    Check<InvitationDetailsRequest>().with(FIELD(InvitationId, text));
    Check<InvitationCreateResponse>().with(FIELD(Invitation, anInvitation));
    Check<InvitationReadResponse>().with(FIELD(Invitation, anInvitation));
    Check<InvitationUpdateResponse>().with(FIELD(Invitation, anInvitation));
    Check<InvitationDetailsResponse>().with(
        RENAMED(withInvitation, getInvitationDetails, anInvitation));
    Check<InvitationListResponse>().with(LIST(Invitations, anInvitation, Invitation()));
    Check<InvitationFolderContentRequest>().with(FIELD(Resource, resource),
                                                 FIELD(InvitationId, text),
                                                 RENAMED(withShowHidden, showHidden, true));
    Check<InvitationFolderContentResponse>().with(FIELD(FolderSummary, aFolder),
                                                  FIELD(Folders, folders), FIELD(Files, files));
    EXPECT_EQ(u"folder", InvitationFolderContentResponse(aFolder).getFolderSummary().getName());
    static_assert(!Comparable<InvitationFolderContentResponse>);
}

TEST(Records, ofPermissions) {
    const auto subject = Subject().withSubjectName(wide);
    Check<Subject>().with(FIELD(SubjectName, wide));
    Check<Permission>().with(FIELD(PermissionId, text), FIELD(Subject, wide),
                             FIELD(Resource, resource), FIELD(Operation, text),
                             FIELD(Status, text));
    checkRequestFor(Check<PermissionGrantRequest>(resource).with(
        FIELD(Subject, subject), FIELD(Operation, Operation::READ_WRITE),
        FIELD(AllowNonExistingUser, true)));
    Check<PermissionGrantResponse>().with(FIELD(PermissionId, text));
    checkRequestFor(Check<PermissionRevokeRequest>(resource).with(FIELD(PermissionId, text)));
    checkRequestFor(Check<PermissionListRequest>(resource));
    Check<PermissionListResponse>().with(
        LIST(Permissions, Permission().withSubject(wide), Permission()));
}

TEST(Records, ofConfiguration) {
    const auto policy = ResourcePolicy().withVersionPolicy(VersionPolicy::ENABLED);
    Check<ResourcePolicy>().with(FIELD(VersionPolicy, VersionPolicy::ENABLED),
                                 FIELD(PublicAccessPolicy, static_cast<PublicAccessPolicy>(-7)));
    Check<StorageUsageGetResponse>().with(FIELD(UsageQuota, ~0UL), FIELD(StorageUsage, ~0UL));
    Check<ResourcePolicyGetRequest>().with(FIELD(Resource, resource));
    Check<ResourcePolicyGetResponse>().with(FIELD(Policy, policy), FIELD(EffectivePolicy, policy));
    Check<ResourcePolicySetRequest>().with(FIELD(Resource, resource),
                                           FIELD(ResourcePolicy, policy));
}

TEST(Records, ofChangesAndVersions) {
    const std::vector changes{FileChangeSummary().withWatermark("1"),
                              FileChangeSummary().withWatermark("2")};
    Check<FileChangeListRequest>().with(FIELD(Watermark, text));
    Check<FileChangeSummary>().with(FIELD(Resource, resource), FIELD(Watermark, text));
    Check<FileChangeListResponse>().with(FIELD(CurrentWatermark, text),
                                         LIST(FileChanges, changes[0], changes[1]),
                                         LIST(FolderChanges, changes[0], changes[1]));

    checkRequestFor(Check<VersionListRequest>(resource));
    Check<VersionSummary>().with(FIELD(VersionId, text), FIELD(Created, aTime),
                                 FIELD(VersionLabel, 0, -1));
    Check<VersionListResponse>().with(
        FIELD(Name, wide), LIST(Versions, VersionSummary(), VersionSummary().withVersionLabel(1)));
    checkRequestFor(Check<VersionRestoreRequest>(resource).with(
        FIELD(VersionId, text), FIELD(VersionLabel, 0, -1), FIELD(CreateNewVersion, true)));
    Check<VersionRestoreResponse>().with(FIELD(VersionId, text), FIELD(VersionLabel, 0, -1));
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
