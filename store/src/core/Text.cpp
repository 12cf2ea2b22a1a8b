#include "core/Text.h"

#include <algorithm>

#include "core/Context.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxstore {

namespace {

constexpr std::size_t longestName = 255;
constexpr std::size_t longestContentType = 255;

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

bool hasUnpairedSurrogate(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            ++i;
        } else if (isHighSurrogate(text[i]) || isLowSurrogate(text[i])) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string toUtf8(const std::u16string& text) { return Resource(u"", text).getUTF8Bucket(); }

std::u16string toUtf16(std::string_view text) {
    if (std::all_of(text.begin(), text.end(), [](char byte) { return byte >= 0; })) {
        return {text.begin(), text.end()};
    }
    std::u16string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i++]);
        const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
        char32_t point = more == 0 ? lead : lead & (0x3FU >> static_cast<unsigned>(more));
        for (int n = 0; n < more && i < text.size(); ++n) {
            point = point << 6U | (static_cast<unsigned char>(text[i++]) & 0x3FU);
        }
        if (point >= 0x10000) {
            result += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10U));
            result += static_cast<char16_t>(0xDC00 + (point & 0x3FFU));
        } else {
            result += static_cast<char16_t>(point);
        }
    }
    return result;
}

bool isAddress(std::u16string_view text) {
    return !text.empty() && text.size() <= longestName && text.find(u'\0') == text.npos &&
           !hasUnpairedSurrogate(text);
}

bool isName(std::u16string_view name) {
    return isAddress(name) && name != u"." && name != u".." && name.find(u'/') == name.npos;
}

bool isSecret(std::string_view text) {
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.size() < 20 && text.find_first_not_of("0123456789") == text.npos;
}

void requireContentType(std::string_view text) {
    if (text.size() > longestContentType || text.find('\0') != text.npos) {
        refuse(ErrorCode::UNKNOWN);
    }
}

std::vector<std::string> splitPath(std::u16string_view path) {
    if (path.empty() || path.front() != u'/' || path.size() > longestPath) {
        refuse(ErrorCode::ILLEGAL_PATH);
    }
    std::vector<std::string> names;
    for (path.remove_prefix(1); !path.empty();) {
        const std::size_t length = std::min(path.find(u'/'), path.size());
        const std::u16string_view name = path.substr(0, length);
        const bool endsInSlash = length + 1 == path.size();
        if (!isName(name) || endsInSlash) {
            refuse(ErrorCode::ILLEGAL_PATH);
        }
        names.push_back(toUtf8(std::u16string(name)));
        path.remove_prefix(std::min(length + 1, path.size()));
    }
    return names;
}

}  // namespace storage::kvxstore
