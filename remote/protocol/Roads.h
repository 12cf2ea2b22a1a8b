#pragma once

/// @file
/// The operations that have a method and a place of their own. All can also be asked for with
/// POST /v1/{operation}.

#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>

#include "storage/kvxfields/Fields.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxfields {

template <>
struct Fields<kvxtransport::PingRequest> {
    static constexpr std::string_view name = "PingRequest";
    static constexpr auto list = std::make_tuple();
};

}  // namespace storage::kvxfields

namespace storage::kvxremote {

/// What follows a room's name in a target.
enum class Place {
    NONE,      ///< Nothing.
    RESOURCE,  ///< /{bucket}{path}
    NAME       ///< /{id}
};

/// The road of one operation.
struct Road {
    std::string_view operation;
    std::string_view method;
    std::string_view room;
    Place place;
};

inline constexpr std::string_view targetPrefix = "/v1/";

/// What stands for the empty bucket in a target; a bucket of that name is percent-encoded.
inline constexpr std::string_view emptyBucket = "-";

/// The road on which login sends JSON.
inline constexpr std::string_view loginRoom = "session";

inline constexpr Road roads[] = {
    {"ping", "GET", "ping", Place::NONE},
    {"logout", "DELETE", "session", Place::NONE},
    {"readFile", "GET", "files", Place::RESOURCE},
    {"createFile", "PUT", "files", Place::RESOURCE},
    {"deleteFile", "DELETE", "files", Place::RESOURCE},
    {"listFolder", "GET", "folders", Place::RESOURCE},
    {"createFolder", "PUT", "folders", Place::RESOURCE},
    {"deleteFolder", "DELETE", "folders", Place::RESOURCE},
    {"readFileContent", "GET", "handles", Place::NAME},
    {"writeFileContent", "PUT", "handles", Place::NAME},
    {"closeFileHandle", "DELETE", "handles", Place::NAME},
    {"downloadFile", "GET", "downloads", Place::NAME},
};

/// The road of an operation, null if it has none.
constexpr const Road* roadOf(std::string_view operation) {
    for (const Road& road : roads) {
        if (road.operation == operation) {
            return &road;
        }
    }
    return nullptr;
}

inline constexpr std::string_view contentTypeParameter = "content-type";

/// The parameters of fields on roads, by the fields' names.
inline constexpr std::pair<std::string_view, std::string_view> parameterNames[] = {
    {"versionId", "version-id"},
    {"versionLabel", "label"},
    {"createNewVersion", "new-version"},
    {"contentType", contentTypeParameter},
    {"showHidden", "hidden"},
    {"showShared", "shared"},
    {"includeInvitations", "invitations"},
    {"forceRecursive", "force"},
    {"startLocation", "start"},
    {"length", "length"},
    {"operation", "operation"},
};

/// The name of a field's parameter, empty if the field does not travel on roads.
constexpr std::string_view parameterOf(std::string_view field) {
    for (const auto& [name, parameter] : parameterNames) {
        if (name == field) {
            return parameter;
        }
    }
    return {};
}

/// Whether a record has content.
template <class Record>
constexpr bool hasContent() {
    bool has = false;
    kvxfields::forEachFieldOf<Record>([&has](const auto& field) {
        has = has || std::decay_t<decltype(field)>::kind == kvxfields::Kind::CONTENT;
    });
    return has;
}

/// The part of a target before its query, without the prefix; nothing if it has another prefix.
std::optional<std::string_view> placeOf(std::string_view target);

/// The number in a header, nothing without one.
std::optional<std::size_t> sizeIn(std::string_view header);

}  // namespace storage::kvxremote
