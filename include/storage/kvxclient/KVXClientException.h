#pragma once

/// @file
/// The failures of the service.

#include <cstdint>
#include <iosfwd>
#include <stdexcept>

#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

/// The reason why a call failed.
///
/// Values outside this list are carried unchanged and read as UNKNOWN in text.
enum class KVXClientErrorCode : std::int32_t {
    UNAUTHORIZED = 0,               ///< The caller has no session, or no right to do this.
    INVALID_TOKEN = 1,              ///< The token given to login is not accepted.
    BAD_NETWORK = 2,                ///< The service could not be reached, or the call was cut off.
    RESOURCE_NOT_FOUND = 3,         ///< What the call is about does not exist for the caller.
    PARENT_RESOURCE_NOT_FOUND = 4,  ///< The folder that should hold the target does not exist.
    CONFLICT = 5,                   ///< It exists already, or is of the wrong kind.
    FOLDER_NOT_EMPTY = 6,           ///< The folder has content and force was not asked for.
    QUOTA_EXCEEDED = 7,             ///< The storage quota would be exceeded.
    FILE_TOO_LARGE = 8,             ///< The file would exceed the service's size limit.
    ILLEGAL_PATH = 9,               ///< The path breaks the service's rules for names.
    INVALID_SESSION_ID = 10,        ///< The session id was never issued, or is logged out.
    SESSION_EXPIRED = 11,           ///< The session is over: log in again.
    UNKNOWN = 12,                   ///< None of the other codes.
    INTERNAL_SERVER_ERROR = 13      ///< The service itself failed.
};

/// Writes the code as "KVXClientErrorCode::" and the enumerator's name, nothing else; a value that
/// is no enumerator is written as "KVXClientErrorCode::UNKNOWN". Returns the stream.
KVXCLIENT_EXPORT std::ostream& operator<<(std::ostream& stream, KVXClientErrorCode code);

/// A failure of the service, with its code.
///
/// A transport passes it to the completion handler of the call; the blocking forms throw it
/// unchanged. what() is "Error: " and the text of the code.
class KVXCLIENT_EXPORT KVXClientException : public std::runtime_error {
public:
    /// Makes the exception for a code and its message with it.
    KVXClientException(KVXClientErrorCode errorCode);
    /// Copies code and message.
    KVXClientException(const KVXClientException& other) noexcept;
    /// Copies code and message.
    KVXClientException& operator=(const KVXClientException& other) noexcept;
    // Defined in the library, so that its type information is one across library borders.
    ~KVXClientException() override;

    /// Returns the code as it was given, even if it is no enumerator.
    KVXClientErrorCode getErrorCode() const;

private:
    KVXClientErrorCode errorCode_;
};

}  // namespace storage::kvxclient
