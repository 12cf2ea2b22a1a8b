#pragma once

/// @file
/// What stands in a target: resources, ids and parameters.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/kvxclient/Resource.h"

namespace storage::kvxremote {

/// Encoded targets are never longer.
inline constexpr std::size_t longestTarget = 32 * 1024;

/// Whether a text passes through a target unchanged: it has no control characters and all its
/// surrogates are paired.
bool survives(std::u16string_view text);
bool survives(std::string_view text);

/// Appends "/{bucket}{path}". Returns false if proxies or libraries might tidy it.
bool appendResource(std::string& target, const kvxclient::Resource& resource);

/// Appends "/{id}". Returns false as above.
bool appendName(std::string& target, std::string_view name);

/// The opposite of appendResource.
/// @throws WireError if it is no UTF-8 behind its percent-encoding.
kvxclient::Resource readResource(std::string_view place);

/// Decodes percent-encoding.
/// @throws WireError if it is none.
std::string decodeText(std::string_view encoded);

/// Decodes percent-encoded UTF-8.
/// @throws WireError if it is none.
std::u16string decodeText16(std::string_view encoded);

/// The parameters of a query, decoded.
class Parameters {
public:
    /// @throws WireError if the target's query is not percent-encoded well.
    explicit Parameters(std::string_view target);

    /// The value of a parameter, null without it.
    const std::string* find(std::string_view name) const;

private:
    std::vector<std::pair<std::string, std::string>> values_;
};

}  // namespace storage::kvxremote
