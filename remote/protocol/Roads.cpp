#include "protocol/Roads.h"

#include <algorithm>
#include <charconv>

#include "protocol/Headers.h"
#include "protocol/Wire.h"

namespace storage::kvxremote {
namespace {

// Whether the part of a target is one of the road's.
bool leadsTo(const Road& road, std::string_view part) {
    if (part.substr(0, road.room.size()) != road.room) {
        return false;
    }
    part.remove_prefix(road.room.size());
    if (road.place == Place::NONE) {
        return part.empty();
    }
    if (part.size() < 2 || part[0] != '/') {
        return false;
    }
    const std::size_t slash = part.find('/', 1);
    return road.place == Place::RESOURCE ? slash != std::string_view::npos && slash > 1
                                         : slash == std::string_view::npos;
}

bool sameLetters(std::string_view a, std::string_view b) {
    const auto small = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [small](char x, char y) { return small(x) == small(y); });
}

}  // namespace

std::optional<std::string_view> placeOf(std::string_view target) {
    if (target.substr(0, targetPrefix.size()) != targetPrefix) {
        return std::nullopt;
    }
    target = target.substr(0, target.find('?'));
    target.remove_prefix(targetPrefix.size());
    return target;
}

std::optional<std::size_t> sizeIn(std::string_view header) {
    std::size_t number = 0;
    const char* const end = header.data() + header.size();
    const auto [stop, failure] = std::from_chars(header.data(), end, number);
    if (failure != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

std::string_view headerValue(const std::vector<Header>& headers, std::string_view name) {
    for (const Header& header : headers) {
        if (sameLetters(header.first, name)) {
            return header.second;
        }
    }
    return {};
}

std::optional<Route> findRoute(std::string_view method, std::string_view target,
                               const std::vector<Header>& headers) {
    const auto place = placeOf(target);
    if (!place) {
        return std::nullopt;
    }
    std::string_view operation;
    if (method == "POST") {
        operation = *place == loginRoom ? std::string_view("login") : *place;
    } else {
        for (const Road& road : roads) {
            if (road.method == method && leadsTo(road, *place)) {
                operation = road.operation;
            }
        }
    }
    std::optional<Route> route;
    std::size_t index = 0;
    kvxtransport::forEachOperation([&](auto candidate) {
        using Operation = decltype(candidate);
        if (Operation::name == operation) {
            route.emplace();
            route->operation = index;
            if (hasContent<typename Operation::Request>()) {
                const auto jsonSize =
                    method == "POST" ? sizeIn(headerValue(headers, headers::jsonSize)) : 0;
                route->hasContent = jsonSize.has_value();
                route->jsonSize = jsonSize.value_or(0);
            }
        }
        ++index;
    });
    return route;
}

}  // namespace storage::kvxremote
