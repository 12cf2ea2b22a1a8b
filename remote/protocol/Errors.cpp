#include "protocol/Errors.h"

#include <charconv>
#include <sstream>

namespace storage::kvxremote {

using kvxclient::KVXClientErrorCode;

unsigned statusOf(KVXClientErrorCode code) {
    switch (code) {
        case KVXClientErrorCode::ILLEGAL_PATH:
            return 400;
        case KVXClientErrorCode::INVALID_TOKEN:
        case KVXClientErrorCode::INVALID_SESSION_ID:
        case KVXClientErrorCode::SESSION_EXPIRED:
            return 401;
        case KVXClientErrorCode::UNAUTHORIZED:
            return 403;
        case KVXClientErrorCode::RESOURCE_NOT_FOUND:
        case KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND:
            return 404;
        case KVXClientErrorCode::CONFLICT:
        case KVXClientErrorCode::FOLDER_NOT_EMPTY:
            return 409;
        case KVXClientErrorCode::FILE_TOO_LARGE:
            return 413;
        case KVXClientErrorCode::INTERNAL_SERVER_ERROR:
            return 500;
        case KVXClientErrorCode::BAD_NETWORK:
            return 502;
        case KVXClientErrorCode::QUOTA_EXCEEDED:
            return 507;
        case KVXClientErrorCode::UNKNOWN:
            break;
    }
    return 422;
}

std::string errorBody(KVXClientErrorCode code) {
    std::ostringstream word;
    word << code;
    return R"({"error":")" + word.str().substr(word.str().rfind(':') + 1) + "\"}";
}

std::optional<KVXClientErrorCode> parseError(std::string_view header) {
    std::int32_t number = 0;
    const char* const end = header.data() + header.size();
    const auto [stop, failure] = std::from_chars(header.data(), end, number);
    if (failure != std::errc() || stop != end) {
        return std::nullopt;
    }
    return static_cast<KVXClientErrorCode>(number);
}

}  // namespace storage::kvxremote
