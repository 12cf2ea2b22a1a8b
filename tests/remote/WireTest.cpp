#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "json/Text.h"
#include "protocol/Errors.h"
#include "protocol/Headers.h"
#include "protocol/Percent.h"
#include "protocol/Roads.h"
#include "protocol/Wire.h"
#include "storage/kvxfields/Print.h"

// What travels between client and server, from the record to the record.

using namespace storage;
using namespace storage::kvxclient;
using namespace storage::kvxremote;
using namespace std::string_literals;
namespace operations = storage::kvxtransport::operations;

namespace {

// Ways to fill a record. ODD texts must not break those of others; UNTIDY paths would be tidied.
enum Filling { TELLING, LEAST, MOST, ODD, UNTIDY, fillings };

const std::string odd8("\xFF\x80 \0\"\\%2F/../\n\xC3", 15);
const std::u16string odd16(u"\xD800 \0\"\\%2F//..\u20AC\xDFFF", 14);
const std::u16string telling16 = u"p\u00E4th \U0001F600 %41+\"\\";

// A value that differs from those with other numbers.
template <class Value>
Value valueFor(Filling filling, int number) {
    using Limits = std::numeric_limits<Value>;
    if constexpr (std::is_same_v<Value, Resource>) {
        const auto text = valueFor<std::u16string>(filling, number);
        const bool isRoot = filling == MOST || filling == LEAST;
        const auto* bucket = filling == LEAST ? u"" : filling == MOST ? u"-" : u"b\u00FCcket.";
        return filling == TELLING ? Resource(u"/a.b/" + text, bucket + text)
               : isRoot           ? Resource(u"/", bucket)
               : filling == ODD   ? Resource(text, text)
                                  : Resource(number % 2 == 0 ? u"/a//b" : u"/a/../b", u"..");
    } else if constexpr (kvxfields::isRecord<Value>) {
        kvxfields::Builder<Value> builder;
        [&]<std::size_t... index>(std::index_sequence<index...>) {
            (
                [&] {
                    using Field = kvxfields::FieldAt<Value, index>;
                    if constexpr (kvxfields::isWritten<Field>) {
                        builder.template set<index>(
                            valueFor<typename Field::Value>(filling, number + int(index) + 1));
                    }
                }(),
                ...);
        }
        (std::make_index_sequence<kvxfields::fieldCount<Value>>());
        return builder.finish();
    } else if constexpr (std::is_same_v<Value, bool>) {
        return filling != LEAST;
    } else if constexpr (std::is_enum_v<Value>) {
        using Number = std::underlying_type_t<Value>;
        return static_cast<Value>(filling == TELLING ? 1 : valueFor<Number>(filling, number));
    } else if constexpr (std::is_integral_v<Value>) {
        return filling == LEAST  ? Limits::min()
               : filling == MOST ? Limits::max()
                                 : static_cast<Value>(1000 + number);
    } else if constexpr (std::is_same_v<Value, std::chrono::system_clock::time_point>) {
        return Value(typename Value::duration(valueFor<std::int64_t>(filling, number)));
    } else if constexpr (std::is_same_v<Value, std::string>) {
        return filling == LEAST ? ""
               : filling == MOST
                   ? std::string(40'000, 'x')
                   : (filling == ODD ? odd8 : "t\xC3\xA9xt &=+%41 ") + std::to_string(number);
    } else if constexpr (std::is_same_v<Value, std::u16string>) {
        return filling == LEAST  ? u""
               : filling == MOST ? std::u16string(1000, u'\u20AC')
                                 : (filling == ODD ? odd16 : telling16) +
                                       std::u16string(1, char16_t(u'A' + number));
    } else if constexpr (kvxfields::detail::isOptional<Value>) {
        return valueFor<typename Value::value_type>(filling, number);
    } else {
        using Element = typename Value::value_type;
        return filling == LEAST ? Value()
                                : Value{valueFor<Element>(filling, number),
                                        valueFor<Element>(TELLING, number + 1)};
    }
}

// Two values are alike if all that the lists name is; records without equality have no other way.
template <class Value>
bool alike(const Value& a, const Value& b) {
    if constexpr (kvxfields::isRecord<Value>) {
        bool all = true;
        kvxfields::forEachFieldOf<Value>([&](const auto& field) {
            using Field = std::decay_t<decltype(field)>;
            if constexpr (Field::kind != kvxfields::Kind::LOCAL) {
                all = all && alike(field.get(a), field.get(b));
            }
        });
        if constexpr (requires { a == b; } && kvxfields::fieldCount<Value> != 0) {
            all = all && a == b;
        }
        return all;
    } else if constexpr (
        requires { a.begin(); } && !requires { a.c_str(); }) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                          [](const auto& x, const auto& y) { return alike(x, y); });
    } else if constexpr (kvxfields::detail::isOptional<Value>) {
        return a.has_value() == b.has_value() && (!a || alike(*a, *b));
    } else {
        return a == b;
    }
}

template <class Record>
std::string shown(const Record& record) {
    std::ostringstream text;
    kvxfields::print(text, record);
    return text.str().substr(0, 2000);
}

template <class Record>
void giveBytes(Record& record, std::string_view bytes) {
    kvxfields::forEachFieldOf<Record>([&](const auto& field) {
        if constexpr (std::decay_t<decltype(field)>::kind == kvxfields::Kind::CONTENT) {
            field.setBytes(record, bytes);
        }
    });
}

std::string collect(Body& body) {
    std::string all;
    for (std::string_view block = body.next(); !block.empty(); block = body.next()) {
        EXPECT_LT(block.size(), 1024U * 1024);
        all += block;
    }
    return all;
}

template <class Operation>
typename Operation::Response roundTrip(typename Operation::Response response) {
    const WireAnswer answer = Wire<Operation>::encodeAnswer(std::move(response));
    std::string body = collect(*answer.body);
    EXPECT_EQ(answer.size.value_or(body.size()), body.size());
    return Wire<Operation>::decodeAnswer(answer.headers, std::move(body));
}

WireRequest requestOf(std::string method, std::string target, std::string body = {},
                      std::vector<Header> headers = {}, std::string_view content = {}) {
    return {std::move(method), std::move(target), std::move(headers), std::move(body), content};
}

std::string textOf(const WireRequest& request) { return request.method + " " + request.target; }

TEST(Wire, CarriesEveryRecordOfEveryOperationBothWays) {
    const std::string content("\0\xFF content \r\n", 13);
    kvxtransport::forEachOperation([&](auto operation) {
        using Operation = decltype(operation);
        for (int i = 0; i < fillings; ++i) {
            const auto filling = static_cast<Filling>(i);
            SCOPED_TRACE(::testing::Message() << Operation::name << ", filling " << i);
            auto request = valueFor<typename Operation::Request>(filling, 0);
            giveBytes(request, filling == LEAST ? std::string_view() : content);
            const WireRequest wire = Wire<Operation>::encode(request);
            const auto route = findRoute(wire.method, wire.target, wire.headers);
            ASSERT_TRUE(route) << textOf(wire);
            EXPECT_EQ(route->operation, indexOf<Operation>());
            EXPECT_EQ(route->hasContent, hasContent<typename Operation::Request>());
            EXPECT_EQ(route->jsonSize, route->hasContent ? wire.body.size() : 0);
            EXPECT_LE(wire.target.size(), 33U * 1024);
            for (const char c : wire.target) {
                EXPECT_TRUE(c > ' ' && c <= '~') << wire.target;
            }
            const bool isLocal = Operation::name == "downloadFile" && wire.method == "GET";
            if constexpr (Operation::name == "downloadFile") {
                request.withReadIntoString(request.getReadIntoString() && !isLocal);
            }
            const auto arrived = Wire<Operation>::decode(wire);
            EXPECT_TRUE(alike(request, arrived)) << textOf(wire) << '\n' << shown(arrived);

            if constexpr (Operation::name != "downloadFile") {
                auto response = valueFor<typename Operation::Response>(filling, 0);
                giveBytes(response, filling == LEAST ? std::string_view() : content);
                const auto answer = roundTrip<Operation>(response);
                EXPECT_TRUE(alike(response, answer)) << shown(answer);
            }
        }
    });
}

// Reads the interface's headers, so that a field that is added there is not forgotten here.
TEST(FieldLists, NameEveryGetterOfEveryRecord) {
    const std::set<std::string> derived = {
        "UTF8Bucket", "AsciiPercentEncodedPath", "ContentLength", "ContentSize",
        "XMLFormattedMetadata", "PercentEncodedRecipient", "LocationFilename",
        // Nothing sets them.
        "FileReadResponse.Resource", "InvitationReadRequest.Resource"};
    std::map<std::string, std::set<std::string>> getters;
    const std::regex pattern(
        R"(class KVXCLIENT_EXPORT (\w+)|[\w>&*] (?:get|is)(\w+)\(\) const;|bool (showHidden)\(\))");
    for (const auto& file : std::filesystem::directory_iterator(INTERFACE_PATH)) {
        std::ifstream stream(file.path());
        const std::string text((std::istreambuf_iterator<char>(stream)), {});
        std::string record;
        for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end;
             ++found) {
            std::string getter = (*found)[2].str() + (*found)[3].str();
            if ((*found)[1].matched) {
                record = (*found)[1];
                getters[record];
            } else if (derived.count(getter) + derived.count(record + "." + getter) == 0) {
                getter[0] = char(std::tolower(getter[0]));
                getters[record].insert(getter);
            }
        }
    }
    for (const char* const other :
         {"KVXClient", "FileAccess", "AccessControl", "ConfigurationManagement", "Notification",
          "IVersioning", "BufferSize", "KVXClientException"}) {
        EXPECT_EQ(getters.erase(other), 1U) << other;
    }
    std::map<std::string, std::set<std::string>> listed;
    const auto list = [&listed](auto list_, const auto& record) -> void {
        using Record = std::decay_t<decltype(record)>;
        auto& names = listed[std::string(kvxfields::Fields<Record>::name)];
        kvxfields::forEachField(record, [&](const auto& field, const auto& value) {
            names.insert(std::string(field.name));
            using Value = std::decay_t<decltype(value)>;
            if constexpr (kvxfields::isRecord<Value>) {
                list_(list_, value);
            } else if constexpr (requires { typename Value::value_type; }) {
                if constexpr (kvxfields::isRecord<typename Value::value_type>) {
                    list_(list_, valueFor<typename Value::value_type>(LEAST, 0));
                }
            }
        });
    };
    kvxtransport::forEachOperation([&](auto operation) {
        list(list, valueFor<typename decltype(operation)::Request>(LEAST, 0));
        list(list, valueFor<typename decltype(operation)::Response>(LEAST, 0));
    });
    listed.erase("PingRequest");
    for (const auto& [record, names] : getters) {
        EXPECT_EQ(listed[record], names) << record;
    }
    EXPECT_EQ(listed.size(), getters.size());
}

TEST(Wire, WritesTargetsAsTheProtocolSays) {
    const Resource plain(u"/a b/\u00E4.txt", u"m\u00FC");
    const std::string place = "/m%C3%BC/a%20b/%C3%A4.txt";
    const unsigned char byte = 'x';
    const std::pair<WireRequest, std::string> cases[] = {
        {Wire<operations::Ping>::encode({}), "GET /v1/ping"},
        {Wire<operations::Login>::encode({}), "POST /v1/session"},
        {Wire<operations::Logout>::encode({}), "DELETE /v1/session"},
        {Wire<operations::ReadFile>::encode(
             FileReadRequest(plain).withVersionId("a/b").withVersionLabel(3)),
         "GET /v1/files" + place + "?version-id=a%2Fb&label=3"},
        {Wire<operations::CreateFile>::encode(
             FileCreateRequest(plain).withContentType("text/plain").withCreateNewVersion(true)),
         "PUT /v1/files" + place + "?new-version=true"},
        {Wire<operations::CreateFile>::encode(
             FileCreateRequest(plain).withContentType("t\xC3\xA9xt")),
         "PUT /v1/files" + place + "?content-type=t%C3%A9xt"},
        {Wire<operations::ListFolder>::encode(Resource(u"/", u"")), "GET /v1/folders/-/"},
        {Wire<operations::ListFolder>::encode(FolderListRequest({u"/a/", u"-"})
                                                  .withShowHidden(true)
                                                  .withShowShared(true)
                                                  .withIncludeInvitations(true)),
         "GET /v1/folders/%2D/a/?hidden=true&shared=true&invitations=true"},
        {Wire<operations::DeleteFolder>::encode(
             FolderDeleteRequest(plain).withForceRecursive(true)),
         "DELETE /v1/folders" + place + "?force=true"},
        {Wire<operations::WriteFileContent>::encode(FileContentWriteRequest(Resource())
                                                        .withFileHandleId("h/1")
                                                        .withStartLocation(5)
                                                        .withContent(&byte, 1)),
         "PUT /v1/handles/h%2F1?start=5"},
        {Wire<operations::ReadFileContent>::encode(
             FileContentReadRequest({u"/a", u"b"}).withFileHandleId("h").withLength(7)),
         "GET /v1/handles/h?bucket=b&path=%2Fa&length=7"},
        {Wire<operations::CloseFileHandle>::encode(
             FileHandleCloseRequest(Resource())
                 .withFileHandleId("h")
                 .withOperation(FileHandleCloseOperation::ABORT_CHANGES)),
         "DELETE /v1/handles/h?operation=abort"},
        {Wire<operations::DownloadFile>::encode(FileDownloadRequest("x/y")),
         "GET /v1/downloads/x%2Fy"},
        {Wire<operations::ListVersions>::encode(plain), "POST /v1/listVersions"},
        // What would not survive goes as JSON.
        {Wire<operations::DownloadFile>::encode(FileDownloadRequest("..")),
         "POST /v1/downloadFile"},
        {Wire<operations::ReadFileContent>::encode(Resource(u"/a", u"b")),
         "POST /v1/readFileContent"},
        {Wire<operations::CreateFile>::encode(Resource(u"", u"b")), "POST /v1/createFile"},
    };
    for (const auto& [request, expected] : cases) {
        EXPECT_EQ(textOf(request), expected);
    }
    for (const char16_t* const path :
         {u"", u"a", u"/a/./b", u"/a/..", u"//a", u"/a\xDC00", u"/a\n"}) {
        const auto request = Wire<operations::ReadFile>::encode(Resource(path, u"b"));
        EXPECT_EQ(textOf(request), "POST /v1/readFile") << request.body;
    }
    for (const Resource& resource :
         {Resource(u"/a", u".."), Resource(u"/" + std::u16string(11'000, u'\u00E4'), u"")}) {
        EXPECT_EQ(textOf(Wire<operations::ReadFile>::encode(resource)), "POST /v1/readFile");
    }
}

TEST(Wire, UnderstandsOnlyRequestsOfTheProtocol) {
    const std::vector<Header> sized{{"kvx-json-SIZE", "2"}};
    using Read = Wire<operations::ReadFileContent>;
    const auto readWith = [](const char* query, const char* range) {
        return Read::decode(requestOf("GET", "/v1/handles/h"s + query, {}, {{"RANGE", range}}));
    };
    const auto start = [&](auto... words) { return readWith(words...).getStartLocation(); };
    const auto length = [&](auto... words) { return readWith(words...).getLength(); };
    EXPECT_EQ(start("", "bytes=5-9"), 5U);
    EXPECT_EQ(length("", "bytes=5-9"), 5U);
    EXPECT_EQ(length("", "bytes=5-"), std::numeric_limits<unsigned long>::max() - 4);
    EXPECT_EQ(length("", "bytes=0-"), std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(length("?length=1", "bytes=5-"), 1U);
    for (const char* const range :
         {"bytes=9-5", "bytes=-5", "bytes=5-9,11-", "lines=1-2", "bytes"}) {
        EXPECT_EQ(start("", range) + length("", range), 0U) << range;
    }
    const auto create = Wire<operations::CreateFile>::decode(requestOf(
        "PUT", "/v1/files/b/a?content-type=x&unknown=1", {}, {{"content-type", "y"}}, "c"));
    EXPECT_EQ(create.getContentType(), "x");
    EXPECT_EQ(create.getContent().size(), 1U);

    const std::pair<const char*, const char*> unknown[] = {
        {"GET", "/v1/files/b"},       {"GET", "/v1/files//a"},
        {"GET", "/v1/handles/"},      {"GET", "/v1/handles/a/b"},
        {"POST", "/v1/files/b/a"},    {"PATCH", "/v1/files/b/a"},
        {"GET", "/v2/ping"},          {"GET", "ping"},
        {"GET", "/v1/ping/"},         {"GET", "/v1/filesystem/a"},
        {"POST", "/v1/listversions"}, {"", ""}};
    for (const auto& [method, target] : unknown) {
        EXPECT_FALSE(findRoute(method, target, sized)) << method << ' ' << target;
    }
    EXPECT_TRUE(findRoute("POST", "/v1/createFile", sized)->hasContent);
    EXPECT_FALSE(findRoute("POST", "/v1/createFile", {})->hasContent);
    EXPECT_FALSE(findRoute("POST", "/v1/ping", sized)->hasContent);

    // A missing content is no empty one.
    for (const char* const size : {"", "1", "3", "-2", "2 ", "99999999999999999999"}) {
        const auto request = requestOf("POST", "/v1/createFile", "{}", {{"KVX-Json-Size", size}});
        EXPECT_THROW(Wire<operations::CreateFile>::decode(request), WireError) << size;
    }
    for (const char* const query : {"?start=x", "?start=-1", "?start=99999999999999999999",
                                    "?start=", "?start=1%", "?path=%FF", "?length=%zz"}) {
        EXPECT_THROW(Read::decode(requestOf("GET", "/v1/handles/h"s + query)), WireError) << query;
    }
    for (const char* const target : {"/v1/folders/b/%FF", "/v1/folders/%ED%A0%80/a",
                                     "/v1/folders/b/%2", "/v1/folders/b/a?force=maybe"}) {
        const auto request = requestOf("DELETE", target);
        EXPECT_THROW(Wire<operations::DeleteFolder>::decode(request), WireError) << target;
    }
    EXPECT_THROW(Wire<operations::ReadFile>::decodeAnswer({}, "content"), WireError);
}

TEST(Json, RefusesWhatIsNoAnswer) {
    using List = Wire<operations::ListFolder>;
    const auto read = [](const std::string& text) { return List::decodeAnswer({}, text); };
    const std::string deep = std::string(5000, '[') + std::string(5000, ']');
    std::vector<std::string> bad = {"", " ", deep, "{\"x\":" + deep + "}",
                                    "{\"files\":[{\"name\":\"\xFF\"}]}"};
    std::istringstream words(R"~({ [] null 7 {}x {"files":[} {"files":{}} {"files":[null]}
        {"files":[{"size":-1}]} {"files":[{"size":1.5}]} {"files":[{"size":18446744073709551616}]}
        {"files":[{"name":7}]} {"files":[{"name":[65536]}]} {"files":[{"name":"\ud800"}]}
        {"files":[{"name":null}]} {"files":[{"writable":1}]} {"files":[{"watermark":{}}]}
        {"files":[{"watermark":{"base64":"a"}}]} {"files":[{"watermark":{"base64":"a=aa"}}]}
        {"files":[{"created":"now"}]} {"folders":[{"accessType":"KING"}]}
        {"folders":[{"accessType":2147483648}]})~");
    bad.insert(bad.end(), std::istream_iterator<std::string>(words), {});
    ASSERT_EQ(bad.size(), 27U);
    for (const std::string& text : bad) {
        EXPECT_THROW(read(text), WireError) << text.substr(0, 60);
    }
    const auto answer =
        read(R"({"new":{"files":[1]},"files":[{"size":1,"newer":null,"name":[55296]},
        {"watermark":{"base64":"/w=="}}], "folders":[{"accessType":7}]})");
    ASSERT_EQ(answer.getFiles().size(), 2U);
    EXPECT_EQ(answer.getFiles()[0].getName(), std::u16string(1, 0xD800));
    EXPECT_EQ(answer.getFiles()[1].getWatermark(), "\xFF");
    EXPECT_EQ(static_cast<int>(answer.getFolders()[0].getAccessType()), 7);
}

TEST(Json, WritesLongListsInBlocks) {
    std::vector<FileSummary> files(4000, valueFor<FileSummary>(TELLING, 0));
    for (std::size_t i = 0; i < files.size(); ++i) {
        files[i].withSize(i);
    }
    const std::vector<FolderSummary> folders(400, valueFor<FolderSummary>(TELLING, 0));
    const auto list = FolderListResponse().withFiles(files).withFolders(folders);
    EXPECT_FALSE(Wire<operations::ListFolder>::encodeAnswer(list).size);
    EXPECT_TRUE(alike(list, roundTrip<operations::ListFolder>(list)));

    MultiFolderListResponse multi;
    for (const char16_t name : {u'a', u'b', u'c'}) {
        multi.add(ResourceAndFolderList({std::u16string(1, name), u""})
                      .withFiles(name == u'b' ? std::vector<FileSummary>() : files)
                      .withFolders(folders));
    }
    EXPECT_TRUE(alike(multi, roundTrip<operations::ListMultiFolder>(multi)));

    std::vector<FileChangeSummary> changes(5000, valueFor<FileChangeSummary>(MOST, 0));
    const auto changed = FileChangeListResponse().withFolderChanges(changes);
    EXPECT_TRUE(alike(changed, roundTrip<operations::ListFileChanges>(changed)));
}

TEST(FieldLists, ShowNoSecretsAndNoContent) {
    FileCreateRequest create(Resource(u"/\u00E4\n", u"b"));
    create.appendContent("secret", 6);
    const std::pair<std::string, std::string> cases[] = {
        {shown(FileDownloadRequest("secret")),
         "FileDownloadRequest{location: ***, streamFactory: none, readIntoString: false}"},
        {shown(FileDownloadResponse().withStringBody("secret")),
         "FileDownloadResponse{stringBody: 6 bytes}"},
        {shown(create),
         "FileCreateRequest{resource: Resource{path: \"/\u00E4\\x0A\", bucket: \"b\"}, content: 6 "
         "bytes, contentType: \"\", createNewVersion: false}"},
        {shown(VersionListResponse().withVersions({VersionSummary().withCreated(
             std::chrono::system_clock::time_point(std::chrono::milliseconds(-1)))})),
         "VersionListResponse{name: \"\", versions: [VersionSummary{versionId: \"\", created: "
         "1969-12-31T23:59:59.999000000Z, versionLabel: -1}]}"},
        {shown(InvitationListRequest().withStatus(InvitationStatus(9))),
         "InvitationListRequest{resource: Resource{path: \"\", bucket: \"\"}, status: 9, type: "
         "none}"}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(text, expected);
    }
    const std::regex secret(R"((token|sessionId|location|invitationId): [^*])");
    kvxtransport::forEachOperation([&](auto operation) {
        using Operation = decltype(operation);
        for (const std::string& text :
             {shown(valueFor<typename Operation::Request>(TELLING, 0)),
              shown(valueFor<typename Operation::Response>(TELLING, 0))}) {
            EXPECT_FALSE(std::regex_search(text, secret)) << text;
        }
    });
    const auto check = [](auto value) {
        for (int i = -1; i < 4; ++i) {
            value = static_cast<decltype(value)>(i);
            const std::string word(kvxfields::wordOf(value));
            EXPECT_EQ(word.empty() ? "UNKNOWN" : word, toString(value));
        }
    };
    check(AccessType());
    check(FileCreateMode());
    check(FileHandleCloseOperation());
    check(InvitationStatus());
    check(InvitationType());
}

TEST(Protocol, GivesErrorsTheirStatus) {
    const unsigned statuses[] = {403, 401, 502, 404, 404, 409, 409,
                                 507, 413, 400, 401, 401, 422, 500};
    for (int number = -1; number < 15; ++number) {
        const auto code = static_cast<KVXClientErrorCode>(number);
        EXPECT_EQ(statusOf(code), number < 0 || number > 13 ? 422 : statuses[number]);
        EXPECT_EQ(parseError(std::to_string(number)), code);
    }
    EXPECT_EQ(errorBody(KVXClientErrorCode::FOLDER_NOT_EMPTY), R"({"error":"FOLDER_NOT_EMPTY"})");
    for (const char* const text : {"", "x", "1 ", "1.0", "2147483648", " 1", "+1"}) {
        EXPECT_FALSE(parseError(text)) << text;
    }
    EXPECT_EQ(percentEncode("aZ0-._~ /%\xFF"), "aZ0-._~%20%2F%25%FF");
    EXPECT_EQ(percentDecode("%2f%FF+a"), "/\xFF+a");
    for (const char* const text : {"%", "%1", "%g0", "%0g", "a%-1"}) {
        EXPECT_FALSE(percentDecode(text)) << text;
    }
}

}  // namespace
