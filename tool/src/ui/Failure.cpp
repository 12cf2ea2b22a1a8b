#include "ui/Failure.h"

#include <algorithm>
#include <new>
#include <sstream>
#include <string_view>
#include <system_error>

#include "storage/kvxstore/StoreError.h"
#include "ui/Text.h"

namespace storage::kvxtool {

const char* const EXIT_CODES =
    "Exit codes:\n"
    "  0  done\n"
    "  1  failed otherwise, or several failures of different kinds\n"
    "  2  the command line is wrong\n"
    "  3  not found: a file, a folder, the folder to hold it, a user, or the store\n"
    "  4  refused: no right to do this, no valid token, a name that breaks the rules\n"
    "  5  conflict: it exists already, is of another kind, changed while it was read, or is a\n"
    "     folder that is not empty\n"
    "  6  no room: the quota or a limit for files is exceeded, or the local disk is full\n"
    "  7  the store failed by a fault of its own, as when it comes upon damage\n"
    "  8  verify found damage, or the store cannot be opened: no store, or of a newer version\n"
    "  9  the store cannot be reached\n"
    "  128 + n  ended by signal n, as 130 by Ctrl-C\n";

namespace {

using kvxclient::KVXClientErrorCode;
using kvxstore::StoreErrorCode;

struct Meaning {
    ExitCode code;
    const char* words;
};

Meaning meaningOf(KVXClientErrorCode code) {
    switch (code) {
        case KVXClientErrorCode::UNAUTHORIZED:
            return {ExitCode::REFUSED, "permission denied"};
        case KVXClientErrorCode::INVALID_TOKEN:
            return {ExitCode::REFUSED, "the store does not accept the token"};
        case KVXClientErrorCode::BAD_NETWORK:
            return {ExitCode::UNREACHABLE, "the store cannot be reached"};
        case KVXClientErrorCode::RESOURCE_NOT_FOUND:
            return {ExitCode::NOT_FOUND, "no such file or folder"};
        case KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND:
            return {ExitCode::NOT_FOUND, "no such folder to hold it"};
        case KVXClientErrorCode::CONFLICT:
            return {ExitCode::CONFLICT, "something else of that name is in the way"};
        case KVXClientErrorCode::FOLDER_NOT_EMPTY:
            return {ExitCode::CONFLICT, "the folder is not empty"};
        case KVXClientErrorCode::QUOTA_EXCEEDED:
            return {ExitCode::NO_ROOM,
                    "the storage quota is exceeded (old versions count: see kvx df --help)"};
        case KVXClientErrorCode::FILE_TOO_LARGE:
            return {ExitCode::NO_ROOM, "the file is too large for the store"};
        case KVXClientErrorCode::ILLEGAL_PATH:
            return {ExitCode::REFUSED, "the path breaks the rules for names"};
        case KVXClientErrorCode::INVALID_SESSION_ID:
        case KVXClientErrorCode::SESSION_EXPIRED:
            return {ExitCode::REFUSED, "the session is over"};
        case KVXClientErrorCode::INTERNAL_SERVER_ERROR:
            return {ExitCode::STORE_FAILED, "the store failed"};
        case KVXClientErrorCode::UNKNOWN:
            break;
    }
    return {ExitCode::STORE_FAILED, "the store failed for an unknown reason"};
}

/// Where there are no words here, the message of the error names its subject itself.
Meaning meaningOf(StoreErrorCode code) {
    switch (code) {
        case StoreErrorCode::NOT_FOUND:
            return {ExitCode::NOT_FOUND, "there is no such user"};
        case StoreErrorCode::ALREADY_EXISTS:
            return {ExitCode::CONFLICT, "a user or bucket of this name exists already"};
        case StoreErrorCode::ILLEGAL_NAME:
            return {ExitCode::REFUSED, "the name breaks the rules for names"};
        case StoreErrorCode::NOT_WRITABLE:
            return {ExitCode::REFUSED, nullptr};
        case StoreErrorCode::ILLEGAL_URL:
            return {ExitCode::USAGE, nullptr};
        case StoreErrorCode::NOT_A_STORE:
        case StoreErrorCode::NEWER_VERSION:
            return {ExitCode::STORE_DAMAGED, nullptr};
        case StoreErrorCode::FULL:
            return {ExitCode::NO_ROOM, nullptr};
        case StoreErrorCode::DAMAGED:
        case StoreErrorCode::IN_USE:
        case StoreErrorCode::FILE_CHANGED:
        case StoreErrorCode::OTHER:
            break;
    }
    return {ExitCode::STORE_FAILED, nullptr};
}

/// Where there are no words here, the system has its own.
Meaning meaningOf(const std::error_code& error) {
    switch (static_cast<std::errc>(error.default_error_condition().value())) {
        case std::errc::no_such_file_or_directory:
            return {ExitCode::NOT_FOUND, "no such file or folder"};
        case std::errc::permission_denied:
        case std::errc::operation_not_permitted:
            return {ExitCode::REFUSED, "permission denied"};
        case std::errc::read_only_file_system:
            return {ExitCode::REFUSED, "the file system is read-only"};
        case std::errc::file_exists:
            return {ExitCode::CONFLICT, "something else of that name is in the way"};
        case std::errc::not_a_directory:
            return {ExitCode::CONFLICT, "a part of the path is not a folder"};
        case std::errc::is_a_directory:
            return {ExitCode::CONFLICT, "it is a folder"};
        case std::errc::no_space_on_device:
            return {ExitCode::NO_ROOM, "the disk is full"};
        case std::errc::file_too_large:
            return {ExitCode::NO_ROOM, "the file is too large for the disk"};
        case std::errc::broken_pipe:
            return {ExitCode::READER_GONE, nullptr};
        default:
            return {ExitCode::FAILED, nullptr};
    }
}

/// Why the store failed, as far as that is no fault of its own.
StoreErrorCode causeOf(const std::exception& error) {
    try {
        std::rethrow_if_nested(error);
    } catch (const kvxstore::StoreError& cause) {
        return cause.code();
    } catch (...) {
    }
    return StoreErrorCode::OTHER;
}

/// The text of the exception nested in `error`; empty without one.
std::string nestedCause(const std::exception& error) {
    try {
        std::rethrow_if_nested(error);
    } catch (const std::exception& cause) {
        return cause.what();
    }
    return {};
}

struct Advice {
    std::string_view cause;
    const char* words;
};

/// What helps where a server cannot be reached.
constexpr Advice advices[] = {
    {"connection refused", "is the server running there?"},
    {"there is no such socket", "is the server running?"},
    {"name not resolved", "is the name of the host right?"},
    {"certificate has expired", "the server needs a new one"},
    {"certificate is for another host name", "name the host as the certificate does"},
    {"certificate is not of a known authority",
     "?ca=FILE behind the URL, or KVX_CA_FILE, names its certificate"},
    {"the server wants a client certificate", "set KVX_CLIENT_CERT and KVX_CLIENT_KEY"},
    {"the server does not speak TLS", "is it served as kvx+plain?"},
};

/// Why no server was reached, and what helps.
std::string unreachable(const std::string& words, std::string_view cause) {
    constexpr std::string_view NOT_SENT = "not sent: ";  // Nobody would expect otherwise.
    if (cause.starts_with(NOT_SENT)) {
        cause.remove_prefix(NOT_SENT.size());
    }
    std::string text = words + ": " + std::string(cause);
    for (const Advice& advice : advices) {
        if (cause.ends_with(advice.cause)) {
            text += std::string(" (") + advice.words + ')';
        }
    }
    return text;
}

/// ": a name has at most 255 characters", of a name that the store refused; empty when no rule is
/// known that it breaks. What is before the slash of a path is its bucket.
std::string brokenRule(const std::string& name, bool isPath) {
    constexpr std::size_t longestName = 255;
    constexpr std::size_t longestPath = 4096;
    const auto lengthOf = [](const std::string& text) {
        return toUtf16(text).value_or(std::u16string()).size();
    };
    const std::size_t slash = name.find('/');
    if (!isPath && slash != std::string::npos) {
        return ": it has a slash";
    }
    const std::string path = isPath ? name.substr(std::min(slash, name.size())) : '/' + name;
    std::istringstream names(path.substr(path.empty() ? 0 : 1) + '/');
    for (std::string each; std::getline(names, each, '/');) {
        if (each.empty() || each == "." || each == "..") {
            return each.empty() ? ": a name is empty" : ": " + each + " is no name";
        }
        if (lengthOf(each) > longestName) {
            return ": a name has at most 255 characters";
        }
    }
    return lengthOf(path) > longestPath ? ": a path has at most 4,096 characters" : "";
}

}  // namespace

bool refusedWith(KVXClientErrorCode code, const std::function<void()>& action) try {
    action();
    return false;
} catch (const kvxclient::KVXClientException& error) {
    if (error.getErrorCode() != code) {
        throw;
    }
    return true;
}

Failure Failure::of(const std::string& subject, const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const Failure& failure) {
        return failure;
    } catch (const kvxclient::KVXClientException& exception) {
        const StoreErrorCode cause = causeOf(exception);
        if (cause == StoreErrorCode::NOT_WRITABLE) {
            return {ExitCode::REFUSED, subject, "the store is read-only"};
        }
        if (cause == StoreErrorCode::FULL) {
            return {ExitCode::NO_ROOM, subject, "the store's disk is full"};
        }
        const Meaning meaning = meaningOf(exception.getErrorCode());
        if (exception.getErrorCode() == KVXClientErrorCode::ILLEGAL_PATH) {
            return {meaning.code, subject, meaning.words + brokenRule(subject, true)};
        }
        const std::string reason = nestedCause(exception);
        if (reason.empty()) {
            return {meaning.code, subject, meaning.words};
        }
        return {meaning.code, subject,
                meaning.code == ExitCode::UNREACHABLE ? unreachable(meaning.words, reason)
                                                      : meaning.words + std::string(": ") + reason};
    } catch (const kvxstore::StoreError& exception) {
        const Meaning meaning = meaningOf(exception.code());
        if (exception.code() == StoreErrorCode::ILLEGAL_NAME) {
            return {meaning.code, subject, meaning.words + brokenRule(subject, false)};
        }
        return meaning.words == nullptr ? Failure(meaning.code, "", exception.what())
                                        : Failure(meaning.code, subject, meaning.words);
    } catch (const std::system_error& exception) {
        const Meaning meaning = meaningOf(exception.code());
        return {meaning.code, subject,
                meaning.words != nullptr ? meaning.words : exception.code().message()};
    } catch (const std::bad_alloc&) {
        return {ExitCode::FAILED, subject, "not enough memory"};
    } catch (const std::exception& exception) {
        return {ExitCode::FAILED, subject, exception.what()};
    }
}

}  // namespace storage::kvxtool
