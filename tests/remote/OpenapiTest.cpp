#include <curl/curl.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "RemoteFixture.h"
#include "protocol/Percent.h"

// Whether the server answers as the document for others says.

namespace storage::kvxremote {
namespace {

using Json = nlohmann::json;

class OpenapiTest : public RemoteTest {
protected:
    /// What is wrong with a value, empty if nothing is. Fields that it has count as seen.
    std::string faultOf(const Json& schema, const Json& value, const std::string& name = {}) {
        if (schema.contains("$ref")) {
            const std::string path = schema.at("$ref");
            const Json& target = document.at(Json::json_pointer(path.substr(1)));
            return faultOf(target, value, path.substr(path.rfind('/') + 1));
        }
        if (schema.contains("anyOf")) {
            std::string fault;
            for (const Json& way : schema.at("anyOf")) {
                if ((fault = faultOf(way, value, name)).empty()) {
                    break;
                }
            }
            return fault;
        }
        const std::string type = schema.at("type");
        const bool fits = type == "object"    ? value.is_object()
                          : type == "array"   ? value.is_array()
                          : type == "integer" ? value.is_number_integer()
                          : type == "boolean" ? value.is_boolean()
                                              : value.is_string();
        if (!fits || (schema.contains("minimum") && value < schema.at("minimum")) ||
            (schema.contains("enum") &&
             std::count(schema.at("enum").begin(), schema.at("enum").end(), value) == 0)) {
            return name + " is no " + schema.dump() + ": " + value.dump();
        }
        std::string fault;
        for (const auto& [key, member] : value.items()) {
            if (type == "array") {
                fault += faultOf(schema.at("items"), member, name);
            } else if (type == "object" && !schema.at("properties").contains(key)) {
                fault += name + " has an unknown field " + key + ' ';
            } else if (type == "object") {
                seen.insert(name + "." + key);
                fault += faultOf(schema.at("properties").at(key), member, name + "." + key);
            }
        }
        return fault;
    }

    /// All fields of what a schema leads to.
    void list(const Json& schema, std::set<std::string>& fields, const std::string& name = {}) {
        if (schema.contains("$ref")) {
            const std::string path = schema.at("$ref");
            list(document.at(Json::json_pointer(path.substr(1))), fields,
                 path.substr(path.rfind('/') + 1));
        } else if (schema.contains("items")) {
            list(schema.at("items"), fields);
        } else if (schema.contains("properties")) {
            for (const auto& [key, member] : schema.at("properties").items()) {
                fields.insert(name + "." + key);
                list(member, fields);
            }
        }
    }

    static std::size_t append(char* bytes, std::size_t, std::size_t size, void* text) {
        static_cast<std::string*>(text)->append(bytes, size);
        return size;
    }

    /// Asks as no client of ours does; returns the status.
    long ask(const std::string& operation, const std::string& session, const std::string& json,
             const std::string& content = {}) {
        head.clear();
        body.clear();
        const std::string address = "http://127.0.0.1:" + std::to_string(server.port()) + "/v1/";
        const std::string whole = json + content;
        curl_slist* headers = curl_slist_append(nullptr, "Expect:");
        headers = curl_slist_append(headers, ("Authorization: Bearer " + session).c_str());
        headers =
            curl_slist_append(headers, ("KVX-Json-Size: " + std::to_string(json.size())).c_str());
        CURL* const easy = curl_easy_init();
        curl_easy_setopt(easy, CURLOPT_URL, (address + operation).c_str());
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(whole.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, whole.c_str());
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &append);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
        curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &append);
        curl_easy_setopt(easy, CURLOPT_HEADERDATA, &head);
        EXPECT_EQ(curl_easy_perform(easy), CURLE_OK);
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_cleanup(easy);
        curl_slist_free_all(headers);
        return status;
    }

    /// The answer as JSON: the body, or a header beside content.
    Json answer() const {
        const std::string name = "KVX-Response: ";
        const std::size_t begin = head.find(name);
        return begin == std::string::npos
                   ? Json::parse(body)
                   : Json::parse(*percentDecode(head.substr(
                         begin + name.size(), head.find('\r', begin) - begin - name.size())));
    }

    /// Remembers ids by their fields' names.
    void learn(const Json& value) {
        for (const auto& [key, member] : value.items()) {
            if (member.is_structured()) {
                learn(member);
            } else if (member.is_string() && member != "") {
                ids[key] = member;
            }
        }
    }

    /// Replaces @path@ and $name.
    std::string filled(std::string text) const {
        text = std::regex_replace(text, std::regex("@([^@]*)@"), R"({"path":"$1","bucket":""})");
        for (const auto& [name, id] : ids) {
            text = std::regex_replace(text, std::regex("\"\\$" + name + '"'), '"' + id + '"');
        }
        return text;
    }

    const Json document = Json::parse(std::ifstream(OPENAPI_DOCUMENT));
    std::set<std::string> seen;
    std::map<std::string, std::string> ids;
    std::string head;
    std::string body;
};

struct Question {
    const char* operation;
    const char* json;
    const char* content = "";
    bool byFriend = false;
};

// @path@ stands for a resource, $name for the value that an answer had by that name.
const Question questions[] = {
    {"ping", "{}"},
    {"createFolder", R"({"resource":@/d@})"},
    {"createFolder", R"({"resource":@/d/sub@})"},
    {"createFile", R"({"resource":@/d/f@})", "one"},
    {"createFile", R"({"resource":@/d/f@,"createNewVersion":true})", "two"},
    {"listVersions", R"({"resource":@/d/f@})"},
    {"restoreVersion", R"({"resource":@/d/f@,"versionLabel":1})"},
    {"createInvitation", R"({"resource":@/d@,"recipient":"friend"})"},
    {"readInvitation", R"({"invitationId":"$invitationId"})"},
    {"getInvitationDetails", R"({"invitationId":"$invitationId"})"},
    {"updateInvitation", R"({"invitationId":"$invitationId","status":"ACCEPTED"})", "", true},
    {"getFolderContentFromInvitation", R"({"invitationId":"$invitationId"})", "", true},
    {"copyFolderFromInvitation", R"({"invitationId":"$invitationId","targetResource":@/c@})", "",
     true},
    {"listInvitations", R"({"status":"ACCEPTED"})"},
    {"grantPermission", R"({"resource":@/d@,"subject":{"subjectName":"friend"}})"},
    {"listPermissions", R"({"resource":@/d@})"},
    {"listFolder", R"({"resource":@/d@,"showShared":true,"includeInvitations":true})"},
    {"listMultiFolder", R"({"resource":@/@,"showShared":true})"},
    {"readFileAttributes", R"({"resource":@/d/f@,"sharingMetadata":true})"},
    {"revokePermission", R"({"resource":@/d@,"permissionId":"$permissionId"})"},
    {"deleteInvitation", R"({"resource":@/d@,"invitationId":"$invitationId"})"},
    {"readFile", R"({"resource":@/d/f@})"},
    {"createFileDownload", R"({"resource":@/d/f@})"},
    {"downloadFile", R"({"location":"$location"})"},
    {"createReadOnlyFileHandle", R"({"resource":@/d/f@})"},
    {"readFileContent", R"({"fileHandleId":"$fileHandleId","length":3})"},
    {"closeFileHandle", R"({"fileHandleId":"$fileHandleId"})"},
    {"createReadWriteFileHandle", R"({"resource":@/d/f@,"createMode":"UPDATE"})"},
    {"writeFileContent", R"({"fileHandleId":"$fileHandleId"})", "new"},
    {"closeFileHandle", R"({"fileHandleId":"$fileHandleId","operation":"COMMIT_CHANGES"})"},
    {"setMetadata", R"({"resource":@/d/f@,"clientLastModified":1})"},
    {"copy", R"({"source":@/d/f@,"target":@/d/g@})"},
    {"move", R"({"source":@/d/g@,"target":@/d/h@})"},
    {"setResourcePolicy", R"({"resource":@/d@,"resourcePolicy":{"versionPolicy":"ENABLED"}})"},
    {"getResourcePolicy", R"({"resource":@/d@})"},
    {"getStorageUsage", "{}"},
    {"listFileChanges", "{}"},
    {"deleteFile", R"({"resource":@/d/f@})"},
    {"deleteFolder", R"({"resource":@/d@,"forceRecursive":true})"},
    {"logout", "{}"},
};

TEST_F(OpenapiTest, TheServerAnswersAsTheDocumentSays) {
    std::set<std::string> listed;
    std::set<std::string> asked;
    const auto check = [&](const std::string& operation) {
        const Json& call = document.at("paths").at('/' + operation).at("post");
        const Json& success = call.at("responses").at("200");
        const Json* schema = nullptr;
        Json named;
        if (success.at("content").contains("application/json")) {
            schema = &success.at("content").at("application/json").at("schema");
        } else if (operation != "downloadFile") {
            const std::string text = success.at("headers").at("KVX-Response").at("description");
            const std::size_t begin = text.rfind(' ') + 1;
            named = {
                {"$ref", "#/components/schemas/" + text.substr(begin, text.size() - begin - 1)}};
            schema = &named;
        }
        asked.insert(operation);
        if (schema != nullptr) {
            const Json value = answer();
            EXPECT_EQ(faultOf(*schema, value), "") << operation;
            list(*schema, listed);
            learn(value);
        }
    };
    std::string sessions[2];
    for (const bool isFriend : {false, true}) {
        const std::string json = Json{{"token", isFriend ? friendToken : token}}.dump();
        const char* const road = isFriend ? "session" : "login";
        ASSERT_EQ(ask(road, {}, json), 200) << body;
        check(road);
        sessions[isFriend] = ids["sessionId"];
    }
    for (const Question& question : questions) {
        const auto status = ask(question.operation, sessions[question.byFriend],
                                filled(question.json), question.content);
        ASSERT_EQ(status, 200) << question.operation << filled(question.json) << body;
        check(question.operation);
    }
    std::set<std::string> documented;
    for (const auto& [path, methods] : document.at("paths").items()) {
        if (methods.contains("post")) {
            documented.insert(path.substr(1));
        }
    }
    EXPECT_EQ(asked, documented);
    EXPECT_EQ(seen, listed);
    EXPECT_EQ(ask("readFile", sessions[1], filled(R"({"resource":@/d/f@})")), 404);
    EXPECT_EQ(faultOf({{"$ref", "#/components/schemas/Error"}}, answer()), "");
}

}  // namespace
}  // namespace storage::kvxremote
