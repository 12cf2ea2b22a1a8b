#include "Call.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "Digest.h"
#include "protocol/Errors.h"
#include "protocol/Headers.h"
#include "protocol/Percent.h"

namespace storage::kvxserver {

namespace {

using kvxremote::headerValue;
namespace names = kvxremote::headers;

constexpr std::size_t longestSession = 4096;

const kvxremote::Header jsonHeader = {"Content-Type", "application/json"};

/// A body of the wire, which is there already or written while it is taken.
class WireSource final : public Source {
public:
    explicit WireSource(std::unique_ptr<kvxremote::Body> body) : body_(std::move(body)) {}

    void next(Ready ready) override {
        std::optional<std::string_view> block;
        try {
            block = body_->next();
        } catch (const std::exception&) {
            failed_ = true;
        }
        ready(block);
    }
    std::string failure() const override {
        return failed_ ? std::to_string(
                             static_cast<int>(kvxclient::KVXClientErrorCode::INTERNAL_SERVER_ERROR))
                       : "";
    }

private:
    const std::unique_ptr<kvxremote::Body> body_;
    bool failed_ = false;
};

std::uint64_t numberIn(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

std::string decodedHeader(const Head& head, std::string_view name) {
    return kvxremote::percentDecode(headerValue(head.headers, name)).value_or("");
}

bool isCallId(std::string_view text) {
    return text.size() == 32 && text.find_first_not_of("0123456789abcdefABCDEF") == text.npos;
}

/// The part of a file that a Range header names: start and length, all of it for other headers.
std::pair<std::uint64_t, std::uint64_t> rangeIn(std::string_view header) {
    static constexpr std::string_view prefix = "bytes=";
    const std::size_t dash = header.find('-');
    if (header.substr(0, prefix.size()) != prefix || dash == header.npos) {
        return {0, UINT64_MAX};
    }
    const std::string_view last = header.substr(dash + 1);
    const std::uint64_t start = numberIn(header.substr(prefix.size(), dash - prefix.size()));
    const std::uint64_t end = numberIn(last);
    return {start, last.empty() || end < start ? UINT64_MAX : end - start + 1};
}

/// The id in "/v1/handles/{id}?...".
std::string handleIn(std::string_view target) {
    static constexpr std::string_view prefix = "/v1/handles/";
    if (target.substr(0, prefix.size()) != prefix) {
        return {};
    }
    target.remove_prefix(prefix.size());
    return kvxremote::percentDecode(target.substr(0, target.find('?'))).value_or("");
}

/// The path of a target that names one. Other targets may hold secrets.
std::string pathIn(std::string_view target) {
    const std::string_view place = target.substr(0, target.find('?'));
    for (const std::string_view prefix : {"/v1/files/", "/v1/folders/"}) {
        if (place.substr(0, prefix.size()) == prefix) {
            return std::string(place.substr(prefix.size()));
        }
    }
    return {};
}

std::string takeAll(Source& source) {
    std::string text;
    bool ends = false;
    while (!ends) {
        source.next([&](std::optional<std::string_view> block) {
            ends = !block || block->empty();
            text += block.value_or("");
        });
    }
    return text;
}

}  // namespace

Call::Call(std::shared_ptr<Shared> shared, std::shared_ptr<Channel> channel, Head head)
    : shared_(std::move(shared)), channel_(std::move(channel)), head_(std::move(head)) {}

void Call::begin() {
    if (head_.target == "/v1/hello" && head_.method == "GET") {
        Answer answer;
        answer.headers.push_back(jsonHeader);
        answer.text = R"({"protocol":1,"boot":")" + shared_->boot + R"(","maxBody":)" +
                      std::to_string(shared_->options.bodySize) + R"(,"maxJson":)" +
                      std::to_string(shared_->options.jsonSize) + "}";
        return finish(std::move(answer));
    }
    try {
        if (!route()) {
            return;
        }
        readIdentity();
        if (identity_.session.size() > longestSession) {  // It would be kept in many places.
            return fail(Code::INVALID_SESSION_ID);
        }
        if (!checkSizes() || !enter()) {
            return;
        }
    } catch (const kvxremote::WireError&) {
        return refuse(400, "BAD_REQUEST");
    }
    const auto delay = operation_->isLogin ? shared_->logins.delay(channel_->peer())
                                           : std::chrono::milliseconds(0);
    if (!delay) {
        return refuse(429, "TOO_MANY_LOGINS");
    }
    if (delay->count() > 0) {
        return shared_->later(*delay, [self = shared_from_this()] { self->takeRoom(); });
    }
    takeRoom();
}

bool Call::route() {
    if (head_.method.empty() || head_.target.empty() || head_.target.front() != '/') {
        refuse(400, "BAD_REQUEST");
        return false;
    }
    const auto found = kvxremote::findRoute(head_.method, head_.target, head_.headers);
    if (!found) {
        refuse(404, "NO_SUCH_OPERATION");
        return false;
    }
    route_ = *found;
    operation_ = &operationAt(route_.operation);
    return true;
}

bool Call::checkSizes() {
    if (head_.chunked || (!head_.length && (head_.method == "PUT" || head_.method == "POST"))) {
        refuse(411, "LENGTH_REQUIRED");
        return false;
    }
    const std::uint64_t size = head_.length.value_or(0);
    const std::uint64_t json = route_.hasContent ? route_.jsonSize : size;
    if (json > size) {
        refuse(400, "BAD_REQUEST");
        return false;
    }
    if (json > shared_->options.jsonSize) {
        refuse(413, "REQUEST_TOO_LARGE");
        return false;
    }
    if (size - json > shared_->options.bodySize) {
        fail(Code::FILE_TOO_LARGE);
        return false;
    }
    bodySize_ = size;
    return true;
}

void Call::readIdentity() {
    static constexpr std::string_view bearer = "Bearer ";
    const std::string_view authorization = headerValue(head_.headers, names::authorization);
    if (authorization.substr(0, bearer.size()) == bearer) {
        identity_.session = authorization.substr(bearer.size());
    }
    identity_.application = decodedHeader(head_, names::application);
    identity_.origin = decodedHeader(head_, names::origin);
    identity_.client = decodedHeader(head_, names::client);
    identity_.clientType = decodedHeader(head_, names::clientType);
    user_ = isOfSession() ? shared_->sessions.userOf(identity_.session) : std::string();
    isKnown_ = !user_.empty();
    if (!isKnown_) {
        user_ = "at " + channel_->peer();
    }
    order_ = numberIn(headerValue(head_.headers, names::order));
    useHandle(handleIn(head_.target));
}

void Call::useHandle(std::string handle) {
    if (handle == handle_) {
        return;
    }
    if (isOrdered()) {
        shared_->handles.left(handleKey(), order_);
    }
    handle_ = std::move(handle);
    if (isOrdered()) {
        shared_->handles.arrived(handleKey(), order_);
    }
}

bool Call::enter() {
    if (shared_->draining) {
        refuse(503, "ENDING");
        return false;
    }
    if (!shared_->running.enter(user_)) {
        refuse(429, "TOO_MANY_CALLS");
        return false;
    }
    isRunning_ = true;
    if (!isNew()) {
        return false;
    }
    if (operation_->opensHandle) {
        hasHandleRoom_ = shared_->handles.reserve(identity_.session);
        if (!hasHandleRoom_) {
            refuse(429, "TOO_MANY_HANDLES");
            return false;
        }
    }
    return true;
}

bool Call::isNew() {
    const std::string_view call = headerValue(head_.headers, names::call);
    if (call.empty() || !operation_->writes || (!operation_->isOnce && order_ == 0)) {
        return true;
    }
    if (!isCallId(call)) {
        throw kvxremote::WireError("a call id has 32 hex digits");
    }
    const std::string_view boot = headerValue(head_.headers, names::boot);
    arrival_ = {identity_.session, std::string(call), !boot.empty(),
                // More than a day is as good as a day, and cannot overflow.
                std::chrono::milliseconds(std::min<std::uint64_t>(
                    numberIn(headerValue(head_.headers, names::age)), 86'400'000)),
                boot == shared_->boot, !operation_->isOnce};
    const auto verdict = shared_->outcomes.arrive(
        arrival_,
        [self = shared_from_this()](const std::shared_ptr<const Outcome>& outcome) {
            self->sendOutcome(*outcome);
        },
        [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->channel_->cut();
            }
        },
        attempt_);
    if (verdict == Outcomes::Verdict::IN_DOUBT) {
        refuse(409, "IN_DOUBT", true);
    }
    return verdict == Outcomes::Verdict::CARRY_OUT;
}

void Call::takeRoom() {
    if (bodySize_ == 0) {
        return readBody();
    }
    const auto take = [self = shared_from_this()](auto share) {
        self->contentShare_ = std::move(share);
        self->readBody();
    };
    isOrdered() ? takeInTurn(bodySize_, take) : shared_->content->take(user_, bodySize_, take);
}

void Call::takeInTurn(std::size_t amount, Budget::Taken taken) {
    hadRoomTurn_ = true;
    // Those after an earlier attempt may have the room already, and wait for this one.
    const bool isUrgent = shared_->handles.isPast(handleKey(), Handles::ROOM, order_);
    shared_->handles.await(
        handleKey(), Handles::ROOM, order_,
        [self = shared_from_this(), amount, isUrgent, taken = std::move(taken)](bool passes) {
            if (!passes) {
                return self->fail(Code::BAD_NETWORK);
            }
            const auto passOn = [self, taken](auto share) {
                self->shared_->handles.done(self->handleKey(), Handles::ROOM, self->order_);
                taken(std::move(share));
            };
            amount == 0 ? passOn(nullptr)
                        : self->shared_->content->take(self->user_, amount, passOn, isUrgent);
        });
}

void Call::readBody() {
    if (shared_->ending) {
        return fail(Code::BAD_NETWORK);
    }
    if (bodySize_ == 0) {
        return decode();
    }
    body_ = std::make_unique_for_overwrite<char[]>(bodySize_);
    channel_->read(body_.get(), bodySize_, [self = shared_from_this()](bool complete) {
        complete ? self->decode() : self->giveUp();
    });
}

void Call::decode() {
    if (attempt_ > 0 && !shared_->outcomes.received(arrival_, attempt_)) {
        attempt_ = 0;  // A repeat has taken its place.
        channel_->cut();
        return giveUp();
    }
    const std::size_t json = route_.hasContent ? route_.jsonSize : bodySize_;
    kvxremote::WireRequest request;
    request.method = head_.method;
    request.target = head_.target;
    request.headers = head_.headers;
    if (bodySize_ > 0) {
        request.body.assign(body_.get(), json);
        request.content = {body_.get() + json, bodySize_ - json};
    }
    try {
        job_ = operation_->decode(request, shared_->options.bodySize);
    } catch (const std::exception&) {
        return refuse(400, "BAD_REQUEST");
    }
    useHandle(job_->handle);
    if (!handle_.empty()) {
        shared_->handles.use(handleKey());
    }
    if (!operation_->keepsBody) {
        body_.reset();
        if (!route_.hasContent) {
            contentShare_.reset();
        }
    }
    takeAnswerRoom();
}

void Call::takeAnswerRoom() {
    const auto take = [self = shared_from_this()](auto share) {
        self->answerShare_ = std::move(share);
        self->awaitTurn();
    };
    if (isOrdered() && !hadRoomTurn_) {
        takeInTurn(job_->expected, take);
    } else if (job_->expected > 0) {
        shared_->content->take(user_, job_->expected, take);
    } else {
        awaitTurn();
    }
}

void Call::awaitTurn() {
    if (!isOrdered()) {
        return awaitHeavyTurn();
    }
    shared_->handles.await(handleKey(), Handles::CALL, order_,
                           [self = shared_from_this()](bool passes) {
                               passes ? self->queue() : self->fail(Code::BAD_NETWORK);
                           });
}

void Call::awaitHeavyTurn() {
    if (!operation_->isHeavy) {
        return queue();
    }
    shared_->heavy->take(user_, 1, [self = shared_from_this()](auto share) {
        self->heavyShare_ = std::move(share);
        self->queue();
    });
}

void Call::queue() {
    shared_->entry.add(user_, route_.hasContent ? bodySize_ : 0,
                       [self = shared_from_this()] { self->start(); });
}

void Call::start() {
    const auto self = shared_from_this();
    // Whatever becomes of it, the next call on the handle has its turn after it.
    const std::shared_ptr<void> turn(nullptr, [self](void*) {
        if (self->isOrdered()) {
            self->shared_->handles.done(self->handleKey(), Handles::CALL, self->order_);
        }
    });
    const auto completion = std::make_shared<Completion>(
        [self](Result result) { self->completed(std::move(result)); },
        [shared = shared_, size = route_.hasContent ? bodySize_ : 0] { shared->entry.left(size); });
    if (shared_->ending) {
        return completion->complete({Code::BAD_NETWORK, {}, {}});
    }
    try {
        client_ = operation_->isLogin ? shared_->sessions.freshClient(identity_)
                                      : shared_->sessions.client(identity_);
    } catch (const std::exception&) {
        return completion->complete({Code::BAD_NETWORK, {}, {}});
    }
    if (operation_->isDownload) {
        openDownload(*job_);
    }
    try {
        // The completion holds the call and so all that the request refers to.
        job_->start(*client_, completion);
    } catch (const std::exception&) {
        completion->complete({Code::INTERNAL_SERVER_ERROR, {}, {}});
    }
}

void Call::openDownload(Job& job) {
    const std::string_view header = headerValue(head_.headers, "Range");
    const auto [start, length] = rangeIn(header);
    const bool isRange = !header.empty();
    // The answer begins with the first byte: until then a failure still has a status of its own.
    auto begun = [self = shared_from_this(), isRange, first = start] {
        const auto spill = self->job_->spill;
        const auto failure = spill->failure();
        if (failure && (isRange || spill->kept() == 0)) {
            return self->fail(
                kvxremote::parseError(*failure).value_or(Code::INTERNAL_SERVER_ERROR));
        }
        Answer answer;
        answer.headers = {{"Content-Type", "application/octet-stream"}, {"Trailer", "KVX-Error"}};
        if (isRange) {
            const std::string total = std::to_string(spill->total());
            const std::uint64_t kept = spill->kept();
            answer.status = kept == 0 ? 416 : 206;
            answer.headers[1] = {"Content-Range",
                                 kept == 0 ? "bytes */" + total
                                           : "bytes " + std::to_string(first) + '-' +
                                                 std::to_string(first + kept - 1) + '/' + total};
            answer.size = kept;
        }
        answer.source = spill->source();
        self->finish(std::move(answer));
    };
    job.spill = std::make_shared<Spill>(start, length, isRange, std::move(begun));
}

void Call::completed(Result result) {
    note(result);
    std::vector<std::shared_ptr<const SessionClient>> ended;
    if (isOfSession() &&
        (operation_->isLogout ? !result.error : result.error == Code::INVALID_SESSION_ID)) {
        ended = shared_->sessions.ended(identity_.session);
        shared_->handles.endSession(identity_.session);
    }
    if (!ended.empty() || client_.use_count() == 1) {  // They must not end on threads of their own.
        ended.push_back(std::move(client_));
        shared_->entry.add("", 0,
                           [shared = shared_, ended = std::move(ended)] { shared->entry.left(0); });
    }
    client_.reset();
    if (operation_->isDownload && job_->spill) {
        // The answer may be over by now.
        return job_->spill->finish(
            result.error ? std::optional(std::to_string(static_cast<std::int32_t>(*result.error)))
                         : std::nullopt);
    }
    if (result.error) {
        return fail(*result.error);
    }
    if (answerShare_) {
        answerShare_->resize(result.answer.size.value_or(0));
    }
    Answer answer;
    answer.headers = std::move(result.answer.headers);
    answer.size = result.answer.size;
    if (headerValue(answer.headers, "Content-Type").empty()) {
        answer.headers.push_back(jsonHeader);
    }
    if (operation_->name == "readFileContent" && !headerValue(head_.headers, "Range").empty()) {
        answer.status = 206;
    }
    if (result.answer.body) {
        answer.source = std::make_unique<WireSource>(std::move(result.answer.body));
    }
    finish(std::move(answer));
}

void Call::note(const Result& result) {
    if (!isKnown_ && operation_->needsSession && !result.error && !operation_->isLogout) {
        shared_->sessions.proven(identity_.session);
    }
    if (operation_->isLogin && !result.error) {
        shared_->sessions.opened(result.opened, job_->token);
    } else if (operation_->isLogin && result.error == Code::INVALID_TOKEN) {
        shared_->logins.failed(channel_->peer());
    } else if (operation_->opensHandle && !result.error) {
        hasHandleRoom_ = false;
        shared_->handles.opened({identity_.session, result.opened}, job_->resource, client_);
    } else if (operation_->isClose && !result.error) {
        shared_->handles.closed({identity_.session, job_->handle});
    }
}

void Call::fail(Code code) {
    code_ = static_cast<std::int32_t>(code);
    passTurns();
    Answer answer;
    answer.status = kvxremote::statusOf(code);
    answer.headers = {jsonHeader, {std::string(names::error), std::to_string(*code_)}};
    answer.text = kvxremote::errorBody(code);
    finish(std::move(answer));
}

void Call::refuse(unsigned status, const char* word, bool inDoubt) {
    Answer answer;
    answer.status = status;
    answer.headers.push_back(jsonHeader);
    if (status == 429 || status == 503) {
        answer.headers.emplace_back("Retry-After", "1");
    }
    if (inDoubt) {
        answer.headers.emplace_back(names::inDoubt, "1");
    }
    answer.text = R"({"error":")" + std::string(word) + R"("})";
    if (status == 400) {
        passTurns();
    } else if (attempt_ > 0) {
        shared_->outcomes.forget(arrival_, std::exchange(attempt_, 0));
    }
    finish(std::move(answer));
}

void Call::passTurns() {
    if (!isOrdered()) {
        return;
    }
    for (const auto stage : {Handles::ROOM, Handles::CALL}) {
        shared_->handles.await(
            handleKey(), stage, order_,
            [shared = shared_, key = handleKey(), stage, order = order_](bool passes) {
                if (passes) {
                    shared->handles.done(key, stage, order);
                }
            });
    }
}

void Call::finish(Answer answer) {
    if (attempt_ > 0) {
        if (answer.source) {
            answer.text = takeAll(*answer.source);
            answer.source.reset();
            answer.size.reset();
        }
        shared_->outcomes.complete(
            arrival_, std::exchange(attempt_, 0),
            std::make_shared<const Outcome>(Outcome{answer.status, answer.headers, answer.text}),
            // Whoever makes sessions up must not fill the memory with their outcomes.
            code_ != static_cast<std::int32_t>(Code::INVALID_SESSION_ID));
    }
    send(std::move(answer));
}

void Call::sendOutcome(const Outcome& outcome) {
    repeated_ = true;
    if (const std::string_view error = headerValue(outcome.headers, names::error); !error.empty()) {
        code_ = static_cast<std::int32_t>(numberIn(error));
    }
    Answer answer;
    answer.status = outcome.status;
    answer.headers = outcome.headers;
    answer.text = outcome.text;
    send(std::move(answer));
}

void Call::send(Answer answer) {
    if (answered_.exchange(true)) {
        return;
    }
    status_ = answer.status;
    answer.headers.emplace_back(names::boot, shared_->boot);
    channel_->answer(std::move(answer),
                     [self = shared_from_this()](std::uint64_t bytes, bool complete) {
                         self->ended(bytes, complete);
                     });
}

void Call::giveUp() {
    if (attempt_ > 0) {
        shared_->outcomes.forget(arrival_, std::exchange(attempt_, 0));
    }
    if (!answered_.exchange(true)) {
        ended(0, false);
    }
}

void Call::ended(std::uint64_t bytes, bool complete) {
    contentShare_.reset();
    answerShare_.reset();
    heavyShare_.reset();
    if (hasHandleRoom_) {
        shared_->handles.release(identity_.session);
    }
    if (isOrdered()) {
        shared_->handles.left(handleKey(), order_);
    }
    if (isRunning_) {
        shared_->running.leave(user_);
    }
    if (const auto failure = job_ && job_->spill ? job_->spill->failure() : std::nullopt) {
        code_ = static_cast<std::int32_t>(
            kvxremote::parseError(*failure).value_or(Code::INTERNAL_SERVER_ERROR));
    }
    if (!complete && !code_) {
        code_ = static_cast<std::int32_t>(Code::BAD_NETWORK);
    }
    const std::string path = pathIn(head_.target);
    const std::string_view call = headerValue(head_.headers, names::call);
    CallRecord record;
    record.peer = channel_->peer();
    record.operation = operation_ != nullptr ? operation_->name : std::string_view();
    const std::string session = !isOfSession() ? std::string()
                                : isKnown_     ? user_
                                               : digestOf(identity_.session);
    record.session = std::string_view(session).substr(0, 8);
    record.application = identity_.application;
    record.call = isCallId(call) ? call : std::string_view();
    record.path = path;
    record.code = code_;
    record.status = status_;
    record.duration = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - began_);
    record.bytesIn = bodySize_;
    record.bytesOut = bytes;
    record.repeated = repeated_;
    shared_->metrics.count(record);
    if (shared_->log) {
        shared_->log(record);
    }
}

}  // namespace storage::kvxserver
