#include "storage/kvxclient/KVXClientException.h"

#include <array>
#include <ostream>
#include <sstream>
#include <string>

namespace storage::kvxclient {
namespace {

// The texts of the codes, at the index of their value.
constexpr std::array<const char*, 14> texts{"KVXClientErrorCode::UNAUTHORIZED",
                                            "KVXClientErrorCode::INVALID_TOKEN",
                                            "KVXClientErrorCode::BAD_NETWORK",
                                            "KVXClientErrorCode::RESOURCE_NOT_FOUND",
                                            "KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND",
                                            "KVXClientErrorCode::CONFLICT",
                                            "KVXClientErrorCode::FOLDER_NOT_EMPTY",
                                            "KVXClientErrorCode::QUOTA_EXCEEDED",
                                            "KVXClientErrorCode::FILE_TOO_LARGE",
                                            "KVXClientErrorCode::ILLEGAL_PATH",
                                            "KVXClientErrorCode::INVALID_SESSION_ID",
                                            "KVXClientErrorCode::SESSION_EXPIRED",
                                            "KVXClientErrorCode::UNKNOWN",
                                            "KVXClientErrorCode::INTERNAL_SERVER_ERROR"};

std::string messageFor(KVXClientErrorCode code) {
    std::ostringstream message;
    message << "Error: " << code;
    return message.str();
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, KVXClientErrorCode code) {
    const auto index = static_cast<std::uint32_t>(code);  // A negative value is out of range too.
    stream.width(0);  // Nothing may come before or after the text.
    return stream << (index < texts.size() ? texts[index] : "KVXClientErrorCode::UNKNOWN");
}

KVXClientException::KVXClientException(KVXClientErrorCode errorCode)
    : std::runtime_error(messageFor(errorCode)), errorCode_(errorCode) {}

KVXClientException::KVXClientException(const KVXClientException& other) noexcept = default;

KVXClientException& KVXClientException::operator=(const KVXClientException& other) noexcept =
    default;

KVXClientException::~KVXClientException() = default;

KVXClientErrorCode KVXClientException::getErrorCode() const { return errorCode_; }

}  // namespace storage::kvxclient
