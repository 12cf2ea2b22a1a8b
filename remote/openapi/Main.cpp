// Prints the OpenAPI document of the protocol, made from the table of operations, the lists of
// fields and the roads: what stands in docs/openapi.json.

#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "protocol/Errors.h"
#include "protocol/Roads.h"
#include "storage/kvxfields/Fields.h"
#include "storage/kvxfields/Words.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxremote {
namespace {

using Json = nlohmann::ordered_json;
using kvxclient::KVXClientErrorCode;

Json reference(std::string_view kind, std::string_view name) {
    return {{"$ref", "#/components/" + std::string(kind) + '/' + std::string(name)}};
}
Json schemaNamed(std::string_view name) { return reference("schemas", name); }

/// The schema of a value; schemas of records that it needs go into `schemas`.
template <class Type>
Json schemaOf(Json& schemas);

template <class Record>
void addRecord(Json& schemas) {
    const std::string name(kvxfields::Fields<Record>::name);
    if (schemas.contains(name)) {
        return;
    }
    schemas[name] = nullptr;  // Its place, and an end where records are nested.
    Json properties = Json::object();
    kvxfields::forEachFieldOf<Record>([&](const auto& field) {
        using Field = std::decay_t<decltype(field)>;
        if constexpr (kvxfields::isWritten<Field>) {
            properties[std::string(field.name)] = schemaOf<typename Field::Value>(schemas);
        }
    });
    schemas[name] = {{"type", "object"}, {"properties", std::move(properties)}};
}

template <class Type>
Json schemaOf(Json& schemas) {
    if constexpr (kvxfields::isRecord<Type>) {
        addRecord<Type>(schemas);
        return schemaNamed(kvxfields::Fields<Type>::name);
    } else if constexpr (std::is_same_v<Type, bool>) {
        return {{"type", "boolean"}};
    } else if constexpr (std::is_enum_v<Type>) {
        Json words = Json::array();
        for (const std::string_view word : kvxfields::words<Type>) {
            words.push_back(word);
        }
        return {{"anyOf", {{{"type", "string"}, {"enum", words}}, {{"type", "integer"}}}}};
    } else if constexpr (std::is_integral_v<Type>) {
        Json schema{{"type", "integer"}};
        if (std::is_unsigned_v<Type>) {
            schema["minimum"] = 0;
        }
        return schema;
    } else if constexpr (std::is_same_v<Type, std::string>) {
        return schemaNamed("Bytes");
    } else if constexpr (std::is_same_v<Type, std::u16string>) {
        return schemaNamed("Text");
    } else if constexpr (std::is_same_v<Type, std::chrono::system_clock::time_point>) {
        return schemaNamed("Time");
    } else if constexpr (kvxfields::detail::isOptional<Type>) {
        return schemaOf<typename Type::value_type>(schemas);
    } else {
        return {{"type", "array"}, {"items", schemaOf<typename Type::value_type>(schemas)}};
    }
}

Json basicSchemas() {
    return {
        {"Bytes",
         {{"description", "An 8-bit text: a string if it is UTF-8."},
          {"anyOf",
           {{{"type", "string"}},
            {{"type", "object"},
             {"properties", {{"base64", {{"type", "string"}}}}},
             {"required", {"base64"}}}}}}},
        {"Text",
         {{"description", "A UTF-16 text: the numbers of its units if a surrogate has no partner."},
          {"anyOf",
           {{{"type", "string"}},
            {{"type", "array"},
             {"items", {{"type", "integer"}, {"minimum", 0}, {"maximum", 65535}}}}}}}},
        {"Time", {{"description", "Nanoseconds since 1970-01-01T00:00:00Z."}, {"type", "integer"}}},
        {"Error",
         {{"type", "object"},
          {"properties", {{"error", {{"type", "string"}}}}},
          {"required", {"error"}}}}};
}

Json parameter(std::string_view name, std::string_view where, Json schema, bool required) {
    return {{"name", name}, {"in", where}, {"required", required}, {"schema", std::move(schema)}};
}

/// The answers that every call may have.
Json errorAnswers() {
    Json answers;
    for (int number = 0; number <= static_cast<int>(KVXClientErrorCode::INTERNAL_SERVER_ERROR);
         ++number) {
        const auto code = static_cast<KVXClientErrorCode>(number);
        Json& answer = answers[std::to_string(statusOf(code))];
        const std::string word = Json::parse(errorBody(code)).at("error");
        const std::string before = answer.is_null() ? "" : answer.at("description");
        answer = {{"description", before + (before.empty() ? "" : ", ") + word},
                  {"headers",
                   {{"KVX-Error",
                     {{"description", "The number of the code."},
                      {"required", true},
                      {"schema", {{"type", "integer"}}}}}}},
                  {"content", {{"application/json", {{"schema", schemaNamed("Error")}}}}}};
    }
    return answers;
}

Json binary() {
    return {{"application/octet-stream", {{"schema", {{"type", "string"}, {"format", "binary"}}}}}};
}

/// What a call gives when it succeeds.
template <class Operation>
Json success(Json& schemas) {
    using Response = typename Operation::Response;
    Json answer{{"description", "Success."}};
    if (hasContent<Response>()) {
        schemaOf<Response>(schemas);
        answer["content"] = binary();
        if (Operation::name != "downloadFile") {
            answer["headers"] = {
                {"KVX-Response",
                 {{"description", "The other fields, percent-encoded JSON: " +
                                      std::string(kvxfields::Fields<Response>::name) + "."},
                  {"schema", {{"type", "string"}}}}}};
        }
    } else {
        answer["content"] = {{"application/json", {{"schema", schemaOf<Response>(schemas)}}}};
    }
    return answer;
}

template <class Operation>
Json describe(Json& schemas, const Road* road) {
    using Request = typename Operation::Request;
    Json call{
        {"operationId", std::string(road != nullptr ? "" : "post-") + std::string(Operation::name)},
        {"parameters", Json::array()}};
    const bool hasBody = hasContent<Request>();
    if (road != nullptr) {
        if (road->place == Place::RESOURCE) {
            call["parameters"].push_back(parameter("bucket", "path", {{"type", "string"}}, true));
            call["parameters"].push_back(parameter("path", "path", {{"type", "string"}}, true));
        } else if (road->place == Place::NAME) {
            call["parameters"].push_back(parameter("id", "path", {{"type", "string"}}, true));
        }
        kvxfields::forEachFieldOf<Request>([&](const auto& field) {
            using Field = std::decay_t<decltype(field)>;
            using Value = typename Field::Value;
            if constexpr (kvxfields::isWritten<Field>) {
                if (const std::string_view name = parameterOf(field.name); !name.empty()) {
                    constexpr bool isText =
                        std::is_enum_v<Value> || std::is_same_v<Value, std::string>;
                    Json schema = isText ? Json{{"type", "string"}} : schemaOf<Value>(schemas);
                    call["parameters"].push_back(
                        parameter(name, "query", std::move(schema), false));
                }
            }
        });
        if (hasBody) {
            call["requestBody"] = {{"required", true}, {"content", binary()}};
        }
    } else {
        const Json schema = schemaOf<Request>(schemas);
        if (hasBody) {
            call["parameters"].push_back(
                parameter("KVX-Json-Size", "header", {{"type", "integer"}, {"minimum", 0}}, true));
            call["description"] = "The body is so many bytes of JSON, " +
                                  std::string(kvxfields::Fields<Request>::name) +
                                  ", and then the content.";
            call["requestBody"] = {{"required", true}, {"content", binary()}};
        } else {
            call["requestBody"] = {{"required", true},
                                   {"content", {{"application/json", {{"schema", schema}}}}}};
        }
    }
    if (Operation::access == kvxtransport::Access::WRITE) {
        call["parameters"].push_back(reference("parameters", "Call"));
    }
    if (Operation::need == kvxtransport::Need::OPEN) {
        call["security"] = Json::array();
    }
    Json answers = Json::object();
    const Json errors = errorAnswers();
    for (const auto& [status, answer] : errors.items()) {
        answers[status] = reference("responses", status);
    }
    answers["200"] = success<Operation>(schemas);
    if (hasContent<typename Operation::Response>()) {
        answers["206"] = answers["200"];
        answers["206"]["description"] = "A range.";
    }
    call["responses"] = std::move(answers);
    return call;
}

std::string lowerCase(std::string_view method) {
    std::string result(method);
    for (char& letter : result) {
        letter = static_cast<char>(letter | 0x20);
    }
    return result;
}

std::string pathOf(const Road& road) {
    std::string path = "/" + std::string(road.room);
    return path + (road.place == Place::RESOURCE ? "/{bucket}/{path}"
                   : road.place == Place::NAME   ? "/{id}"
                                                 : "");
}

Json document() {
    Json schemas = basicSchemas();
    Json paths;
    paths["/hello"]["get"] = {{"operationId", "hello"},
                              {"security", Json::array()},
                              {"responses",
                               {{"200",
                                 {{"description", "What the server is and takes."},
                                  {"content",
                                   {{"application/json",
                                     {{"schema",
                                       {{"type", "object"},
                                        {"properties",
                                         {{"protocol", {{"type", "integer"}}},
                                          {"boot", {{"type", "string"}}},
                                          {"maxBody", {{"type", "integer"}}},
                                          {"maxJson", {{"type", "integer"}}}}}}}}}}}}}}}};
    kvxtransport::forEachOperation([&](auto operation) {
        using Operation = decltype(operation);
        if (const Road* road = roadOf(Operation::name)) {
            paths[pathOf(*road)][lowerCase(road->method)] = describe<Operation>(schemas, road);
        } else if (Operation::name == "login") {
            paths["/session"]["post"] = describe<Operation>(schemas, nullptr);
        }
    });
    kvxtransport::forEachOperation([&](auto operation) {
        using Operation = decltype(operation);
        paths["/" + std::string(Operation::name)]["post"] = describe<Operation>(schemas, nullptr);
    });
    paths["/session"]["post"]["operationId"] = "login";
    const Json call{
        {"name", "KVX-Call"},
        {"in", "header"},
        {"description",
         "Of the caller's own making, 32 hex digits: a call that comes again with the same has one "
         "effect, and gets the first one's answer. A repeat names the server's boot in KVX-Boot "
         "and the milliseconds since the first attempt in KVX-Age."},
        {"schema", {{"type", "string"}, {"pattern", "^[0-9a-f]{32}$"}}}};
    return {{"openapi", "3.1.0"},
            {"info",
             {{"title", "kvxd"},
              {"version", "1"},
              {"description",
               "A file store over HTTP. Paths are percent-encoded UTF-8, with their slashes; the "
               "bucket \"-\" is the caller's own. Whatever has no place in a target goes by POST. "
               "Unknown fields are skipped, missing ones have their default."}}},
            {"servers", {{{"url", "/v1"}}}},
            {"security", {{{"session", Json::array()}}}},
            {"paths", std::move(paths)},
            {"components",
             {{"schemas", std::move(schemas)},
              {"responses", errorAnswers()},
              {"parameters", {{"Call", call}}},
              {"securitySchemes",
               {{"session",
                 {{"type", "http"},
                  {"scheme", "bearer"},
                  {"description", "The session id that login gave."}}}}}}}};
}

}  // namespace
}  // namespace storage::kvxremote

int main() { std::cout << storage::kvxremote::document().dump(2) << '\n'; }
