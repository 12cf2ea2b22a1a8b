#pragma once

#include <chrono>
#include <exception>
#include <optional>
#include <string>

#include "client/Exchange.h"
#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxremote {

/// What follows from an attempt.
struct Verdict {
    enum class Kind {
        ANSWERED,  ///< With success; whether the answer makes sense is still open.
        FAILED,    ///< For good.
        AGAIN,     ///< To be attempted again if time is left, else failed.
        AT_ONCE,   ///< To be sent again now on another connection, without being counted.
        AS_POST    ///< To be sent again now without the path in its target.
    };

    Kind kind = Kind::ANSWERED;
    kvxclient::KVXClientErrorCode code = kvxclient::KVXClientErrorCode::BAD_NETWORK;
    /// Empty when the server said the code, or success.
    std::string cause;
    /// When the server wants to be asked again.
    std::optional<std::chrono::seconds> after;
    /// Whether the server certainly did not carry the call out.
    bool refused = false;
    /// Whether the server may be gone or another one.
    bool lost = false;
};

Verdict judge(const Exchange& exchange);

/// The code as an exception, which nests a std::runtime_error with the cause if there is one.
std::exception_ptr makeError(kvxclient::KVXClientErrorCode code, const std::string& cause);

}  // namespace storage::kvxremote
