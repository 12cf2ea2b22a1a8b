#pragma once

/// @file
/// The enumerations of the records, and the service's words for their values.

#include <cstdint>
#include <string>

#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

/// The caller's right on a file or folder.
enum class AccessType : std::int32_t {
    READ_ONLY = 0,   ///< May read.
    READ_WRITE = 1,  ///< May read and change.
    OWNER = 2        ///< Owns it, and may share it.
};

/// How opening a file for writing treats a file that exists or is missing.
enum class FileCreateMode : std::int32_t {
    CREATE = 0,           ///< The file must not exist yet.
    UPDATE = 1,           ///< The file must exist.
    CREATE_OR_UPDATE = 2  ///< Either.
};

/// What closing a file handle does with the changes made through it.
enum class FileHandleCloseOperation : std::int32_t {
    COMMIT_CHANGES = 0,  ///< Keeps what was written.
    ABORT_CHANGES = 1    ///< Discards what was written.
};

/// The state of an invitation.
enum class InvitationStatus : std::int32_t {
    PENDING = 0,   ///< Not answered yet.
    ACCEPTED = 1,  ///< Accepted by its recipient.
    DECLINED = 2   ///< Declined by its recipient.
};

/// The kind of an invitation.
enum class InvitationType : std::int32_t {
    OPEN = 0,              ///< For anybody who holds its id.
    PERSONAL = 1,          ///< For one recipient.
    CREATED_FROM_OPEN = 2  ///< A recipient's own, created by accepting an open one.
};

/// The right that a permission grants. The transport maps it to the service's words.
enum class Operation : std::int32_t {
    READ = 0,       ///< To read.
    READ_WRITE = 1  ///< To read and change.
};

/// Whether earlier versions of files are kept. The transport maps it to the service's words.
enum class VersionPolicy : std::int32_t {
    INHERIT = 0,   ///< As the parent folder says.
    DISABLED = 1,  ///< No versions are kept.
    ENABLED = 2    ///< Versions are kept.
};

/// Whether a resource may be reached publicly. The transport maps it to the service's words.
enum class PublicAccessPolicy : std::int32_t {
    INHERIT = 0,  ///< As the parent folder says.
    DENIED = 1,   ///< No public access.
    ALLOWED = 2   ///< Public access is allowed.
};

/// Returns the service's word for the value, which is the enumerator's name, or "UNKNOWN" if the
/// value is no enumerator.
KVXCLIENT_EXPORT std::string toString(AccessType value);
/// Returns the word for a FileCreateMode, as toString(AccessType) does.
KVXCLIENT_EXPORT std::string toString(FileCreateMode value);
/// Returns the word for a FileHandleCloseOperation, as toString(AccessType) does.
KVXCLIENT_EXPORT std::string toString(FileHandleCloseOperation value);
/// Returns the word for an InvitationStatus, as toString(AccessType) does.
KVXCLIENT_EXPORT std::string toString(InvitationStatus value);
/// Returns the word for an InvitationType, as toString(AccessType) does.
KVXCLIENT_EXPORT std::string toString(InvitationType value);

/// Returns the enumerator whose word is exactly `text`.
///
/// @throws std::runtime_error "Unknown access type!" when there is none. All three functions throw
///     this text, since callers match on it.
KVXCLIENT_EXPORT AccessType stringToAccessType(const std::string& text);
/// Reads the word of an InvitationStatus, as stringToAccessType() does.
KVXCLIENT_EXPORT InvitationStatus stringToInvitationStatus(const std::string& text);
/// Reads the word of an InvitationType, as stringToAccessType() does.
KVXCLIENT_EXPORT InvitationType stringToInvitationType(const std::string& text);

}  // namespace storage::kvxclient
