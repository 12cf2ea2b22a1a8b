#include "protocol/Target.h"

#include <algorithm>

#include "json/Text.h"
#include "json/WireError.h"
#include "protocol/Percent.h"
#include "protocol/Roads.h"

namespace storage::kvxremote {
namespace {

bool isControl(unsigned c) { return c < 0x20 || c == 0x7F; }

bool isDots(std::u16string_view segment) { return segment == u"." || segment == u".."; }

// Whether nobody has a reason to tidy the path.
bool isTidy(std::u16string_view path) {
    if (path.empty() || path[0] != u'/' || !survives(path)) {
        return false;
    }
    for (std::size_t start = 1; start < path.size();) {
        const std::size_t end = std::min(path.find(u'/', start), path.size());
        if (end == start || isDots(path.substr(start, end - start))) {
            return false;
        }
        start = end + 1;
    }
    return true;
}

}  // namespace

bool survives(std::u16string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        const unsigned unit = text[at];
        if (isControl(unit)) {
            return false;
        }
        if ((unit & 0xF800) == 0xD800) {
            ++at;
            if (unit >= 0xDC00 || at == text.size() || (text[at] & 0xFC00) != 0xDC00) {
                return false;
            }
        }
    }
    return true;
}

bool survives(std::string_view text) {
    return std::none_of(text.begin(), text.end(),
                        [](char c) { return isControl(static_cast<unsigned char>(c)); });
}

bool appendResource(std::string& target, const kvxclient::Resource& resource) {
    const std::u16string bucket = resource.getBucket();
    if (!isTidy(resource.getPath()) || !survives(bucket) || isDots(bucket) ||
        bucket.find(u'/') != bucket.npos) {
        return false;
    }
    target += '/';
    if (bucket.empty()) {
        target += emptyBucket;
    } else {
        const std::string encoded = percentEncode(resource.getUTF8Bucket());
        target += encoded == emptyBucket ? "%2D" : encoded;
    }
    target += resource.getAsciiPercentEncodedPath();
    return true;
}

bool appendName(std::string& target, std::string_view name) {
    if (name.empty() || name == "." || name == ".." || !survives(name)) {
        return false;
    }
    target += '/';
    target += percentEncode(name);
    return true;
}

kvxclient::Resource readResource(std::string_view place) {
    place.remove_prefix(std::min<std::size_t>(1, place.size()));
    const std::size_t slash = std::min(place.find('/'), place.size());
    const std::string_view bucket = place.substr(0, slash);
    return {decodeText16(place.substr(slash)),
            bucket == emptyBucket ? std::u16string() : decodeText16(bucket)};
}

std::string decodeText(std::string_view encoded) {
    auto text = percentDecode(encoded);
    if (!text) {
        throw WireError("bad percent-encoding");
    }
    return *std::move(text);
}

std::u16string decodeText16(std::string_view encoded) {
    auto text = json::toUtf16(decodeText(encoded));
    if (!text) {
        throw WireError("no UTF-8 in the target");
    }
    return *std::move(text);
}

Parameters::Parameters(std::string_view target) {
    std::size_t at = target.find('?');
    while (at < target.size()) {
        const std::size_t end = std::min(target.find('&', at + 1), target.size());
        const std::string_view parameter = target.substr(at + 1, end - at - 1);
        const std::size_t equals = std::min(parameter.find('='), parameter.size());
        values_.emplace_back(decodeText(parameter.substr(0, equals)),
                             decodeText(parameter.substr(std::min(equals + 1, parameter.size()))));
        at = end;
    }
}

const std::string* Parameters::find(std::string_view name) const {
    for (const auto& [known, value] : values_) {
        if (known == name) {
            return &value;
        }
    }
    return nullptr;
}

}  // namespace storage::kvxremote
