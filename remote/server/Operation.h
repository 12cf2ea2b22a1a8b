#pragma once

/// @file
/// Each operation of the table behind one type, so that calls are carried out by plain code.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Sessions.h"
#include "Spill.h"
#include "protocol/Wire.h"

namespace storage::kvxserver {

/// What a call came to.
struct Result {
    std::optional<kvxclient::KVXClientErrorCode> error;
    kvxremote::WireAnswer answer;
    /// The session or handle that it opened.
    std::string opened;
};

/// Takes the result once; INTERNAL_SERVER_ERROR if it ends without one.
class Completion {
public:
    /// Calls `over` when `take` is gone with all that it holds, which the server's end waits for.
    Completion(std::function<void(Result)> take, std::function<void()> over)
        : take_(std::move(take)), over_(std::move(over)) {}
    ~Completion();
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;

    void complete(Result result);

private:
    std::function<void(Result)> take_;
    const std::function<void()> over_;
};

/// A request, ready to be made.
class Job {
public:
    virtual ~Job() = default;
    /// Makes the call, once.
    virtual void start(const SessionClient& client, std::shared_ptr<Completion> completion) = 0;

    /// What it is about.
    kvxclient::Resource resource{u"", u""};
    /// The handle it uses.
    std::string handle;
    /// The token of a login.
    std::string token;
    /// The bytes of content that its answer is expected to have.
    std::size_t expected = 0;
    /// Where a download goes.
    std::shared_ptr<Spill> spill;
};

/// A row of the table of operations.
struct Operation {
    std::string_view name;
    bool writes = false;
    bool isOnce = false;
    bool needsSession = false;
    bool isHeavy = false;
    bool opensHandle = false;
    bool isLogin = false;
    bool isLogout = false;
    bool isClose = false;
    bool isDownload = false;
    /// Whether the request refers to the content where it was collected.
    bool keepsBody = false;
    /// Throws a WireError. No answer has more than `mostContent` bytes of content.
    std::unique_ptr<Job> (*decode)(const kvxremote::WireRequest& request,
                                   std::size_t mostContent) = nullptr;
};

const Operation& operationAt(std::size_t index);

}  // namespace storage::kvxserver
