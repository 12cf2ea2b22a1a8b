#pragma once

/// @file
/// One call, from the head of its request to the last byte of its answer.

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "Calls.h"
#include "Operation.h"

namespace storage::kvxserver {

/// The stages of a call, in this order. Each ends with the next one, or with an answer.
class Call : public std::enable_shared_from_this<Call> {
public:
    Call(std::shared_ptr<Shared> shared, std::shared_ptr<Channel> channel, Head head);

    void begin();

private:
    using Code = kvxclient::KVXClientErrorCode;

    /// Finds the operation and checks the sizes.
    bool route();
    bool checkSizes();
    void readIdentity();
    void useHandle(std::string handle);
    /// Whether there is room for one more call, and it was not carried out before.
    bool enter();
    bool isNew();
    /// Takes room for the body, then reads it.
    void takeRoom();
    /// Takes room when all earlier calls on the handle have theirs: later ones must not keep it
    /// from them.
    void takeInTurn(std::size_t amount, Budget::Taken taken);
    void readBody();
    void decode();
    /// Takes room for the content of the answer.
    void takeAnswerRoom();
    void awaitTurn();
    void awaitHeavyTurn();
    /// Goes to the transport, on a thread of the entry.
    void queue();
    void start();
    void openDownload(Job& job);
    void completed(Result result);
    void note(const Result& result);

    void fail(Code code);
    /// An answer that is the server's own, without a code of the interface.
    void refuse(unsigned status, const char* word, bool inDoubt = false);
    /// Takes the turns of a call that ends for good, so that those after it need not wait.
    void passTurns();
    /// Keeps the outcome for repeats, and sends the answer.
    void finish(Answer answer);
    void send(Answer answer);
    void sendOutcome(const Outcome& outcome);
    void ended(std::uint64_t bytes, bool complete);
    void giveUp();

    Handles::Key handleKey() const { return {identity_.session, handle_}; }
    bool isOfSession() const {
        return operation_ != nullptr && !operation_->isLogin && !identity_.session.empty();
    }
    bool isOrdered() const { return order_ > 0 && !handle_.empty(); }

    const std::shared_ptr<Shared> shared_;
    const std::shared_ptr<Channel> channel_;
    Head head_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
    const Operation* operation_ = nullptr;
    kvxremote::Route route_;
    Identity identity_;
    std::string user_;
    std::string handle_;
    std::uint64_t order_ = 0;
    Outcomes::Arrival arrival_;
    std::uint64_t attempt_ = 0;
    std::size_t bodySize_ = 0;
    std::unique_ptr<char[]> body_;
    std::shared_ptr<Budget::Share> contentShare_;
    std::shared_ptr<Budget::Share> answerShare_;
    std::shared_ptr<Budget::Share> heavyShare_;
    std::unique_ptr<Job> job_;
    std::shared_ptr<const SessionClient> client_;
    std::optional<std::int32_t> code_;
    unsigned status_ = 0;
    bool isRunning_ = false;
    bool hasHandleRoom_ = false;
    bool hadRoomTurn_ = false;
    /// Whether the session was accepted before.
    bool isKnown_ = false;
    bool repeated_ = false;
    std::atomic<bool> answered_{false};
};

}  // namespace storage::kvxserver
