#include "client/Link.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <new>
#include <utility>

#include "json/Value.h"
#include "protocol/Headers.h"
#include "storage/kvxtransport/Endings.h"

namespace storage::kvxremote {

namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using Code = kvxclient::KVXClientErrorCode;

constexpr std::size_t mostOutstanding = 1024;
constexpr unsigned protocolVersion = 1;

kvxtransport::Endings& linkEndings() {
    static kvxtransport::Endings all([] { return bool(onCompletionThread()); });
    return all;
}

/// Thread-safe once; never undone, since others in the program may use libcurl as well.
void initialiseCurl() {
    static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (result != CURLE_OK) {
        throw std::bad_alloc();
    }
}

}  // namespace

std::shared_ptr<Link> Link::start(Settings settings) {
    initialiseCurl();
    linkEndings();  // Made by now, it goes before what the library made when it was loaded.
    const auto end = [](Link* link) { linkEndings().run([link] { delete link; }); };
    return {new Link(std::move(settings)), end};
}

Link::Link(Settings settings)
    : settings_(std::move(settings)), share_(curl_share_init()), multi_(curl_multi_init()) {
    if (!share_ || !multi_) {
        throw std::bad_alloc();
    }
    // The transfers have a cache each otherwise, and most connections would begin from nothing.
    // All are the network thread's, so nothing needs a lock.
    curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS,
                      static_cast<long>(settings_.options.connections));
    for (const std::string& address : settings_.servers) {
        servers_.push_back({address, false, {}});
    }
    hello_.request.method = "GET";
    hello_.request.target = "/v1/hello";
    thread_ = std::thread([this] { work(); });
}

Link::~Link() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    curl_multi_wakeup(multi_.get());
    thread_.join();
}

void Link::submit(std::unique_ptr<Call> call) {
    if (call->hasFailed()) {
        completions_.post(std::move(call));
        return;
    }
    bool wakes = false;
    {
        std::unique_lock lock(mutex_);
        if (!onCompletionThread()) {
            drained_.wait(lock, [this] { return outstanding_ < mostOutstanding; });
        }
        ++outstanding_;
        inbox_.push_back(std::move(call));
        wakes = std::exchange(sleeping_, false);
    }
    if (wakes) {
        curl_multi_wakeup(multi_.get());
    }
}

void Link::giveUpCancelled() {
    {
        const std::lock_guard lock(mutex_);
        cancelling_ = true;
    }
    curl_multi_wakeup(multi_.get());
}

void Link::work() {
    // A write to a closed connection must not end the program.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    while (takeOrders()) {
        startDue();
        startCalls();
        for (const Active& active : active_) {
            active.transfer->resume();
        }
        int running = 0;
        curl_multi_perform(multi_.get(), &running);
        endStalled();
        if (!collect()) {
            sleep();
        }
    }
    giveUpAll();
}

bool Link::takeOrders() {
    std::vector<std::unique_ptr<Call>> taken;
    bool cancels = false;
    bool stops = false;
    {
        const std::lock_guard lock(mutex_);
        taken.swap(inbox_);
        cancels = std::exchange(cancelling_, false);
        stops = stopping_;
    }
    std::move(taken.begin(), taken.end(), std::back_inserter(waiting_));
    if (std::exchange(broke_, false) || cancels) {
        giveUpLost();
    }
    return !stops;
}

void Link::giveUpLost() {
    const auto isLost = [this](Call& call) {
        if (!call.isCancelled() && orders_.isBroken(call.place)) {
            call.giveUp(lostCall);
        }
        return call.isCancelled() || call.hasFailed();
    };
    for (auto& call : std::exchange(waiting_, {})) {
        if (isLost(*call)) {
            complete(std::move(call));
        } else {
            waiting_.push_back(std::move(call));
        }
    }
    for (auto entry = pausing_.begin(); entry != pausing_.end();) {
        const auto next = std::next(entry);
        if (isLost(*entry->second)) {
            complete(std::move(entry->second));
            pausing_.erase(entry);
        }
        entry = next;
    }
    for (std::size_t i = active_.size(); i-- > 0;) {
        if (active_[i].call && isLost(*active_[i].call)) {
            Active ended = std::move(active_[i]);
            active_.erase(active_.begin() + static_cast<std::ptrdiff_t>(i));
            ended.transfer->stop(CURLE_ABORTED_BY_CALLBACK);
            idle_.push_back(std::move(ended.transfer));
            complete(std::move(ended.call));
        }
    }
}

void Link::giveUpAll() {
    for (auto& [due, call] : pausing_) {
        waiting_.push_back(std::move(call));
    }
    for (Active& active : active_) {
        active.transfer->stop(CURLE_ABORTED_BY_CALLBACK);
        if (active.call) {
            waiting_.push_back(std::move(active.call));
        }
    }
    for (auto& call : waiting_) {
        call->giveUp("the client was closed");
        complete(std::move(call));
    }
    waiting_.clear();
    active_.clear();
    idle_.clear();
}

void Link::startDue() {
    const auto now = Clock::now();
    while (!pausing_.empty() && pausing_.begin()->first <= now) {
        waiting_.push_front(std::move(pausing_.begin()->second));
        pausing_.erase(pausing_.begin());
    }
}

void Link::startCalls() {
    for (std::size_t i = 0;
         i < waiting_.size() && active_.size() < settings_.options.connections;) {
        Server& server = servers_[current_];
        if (!server.known) {
            startHello();
            return;
        }
        if (!mayStart(*waiting_[i])) {
            ++i;
            continue;
        }
        auto call = std::move(waiting_[i]);
        waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(i));
        if (call->isCancelled()) {
            complete(std::move(call));
        } else if (!takes(call->exchange.request.content.size())) {
            call->fail(Code::FILE_TOO_LARGE, {});
            complete(std::move(call));
        } else {
            call->beginAttempt(server.boot);
            Exchange& exchange = call->exchange;
            start(std::move(call), exchange);
        }
    }
}

/// Calls that wait for others at the server leave a connection to those.
bool Link::mayStart(const Call& call) {
    if (!orders_.isBehind(call.place)) {
        return true;
    }
    const auto behind = std::count_if(active_.begin(), active_.end(), [this](const Active& active) {
        return active.call && orders_.isBehind(active.call->place);
    });
    return static_cast<std::size_t>(behind) + 1 < settings_.options.connections;
}

void Link::startHello() {
    if (!std::exchange(asking_, true)) {
        start(nullptr, hello_);
    }
}

void Link::start(std::unique_ptr<Call> call, Exchange& exchange) {
    std::unique_ptr<Transfer> transfer;
    if (idle_.empty()) {
        transfer = std::make_unique<Transfer>(multi_.get(), share_.get(), settings_);
    } else {
        transfer = std::move(idle_.back());
        idle_.pop_back();
    }
    exchange.sink = call ? call->sink.get() : nullptr;
    transfer->start(exchange, servers_[current_].address);
    active_.push_back({std::move(transfer), std::move(call), current_});
}

/// Takes what libcurl has finished; false if there was nothing.
bool Link::collect() {
    bool any = false;
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg != CURLMSG_DONE) {
            continue;
        }
        const CURLcode result = message->data.result;
        const auto found = std::find_if(active_.begin(), active_.end(), [&](const Active& active) {
            return active.transfer->handle() == message->easy_handle;
        });
        Active ended = std::move(*found);
        active_.erase(found);
        finish(std::move(ended), result);
        any = true;
    }
    return any;
}

void Link::finish(Active active, CURLcode result) {
    active.transfer->stop(result);
    idle_.push_back(std::move(active.transfer));
    if (!active.call) {
        finishHello(active.server);
        return;
    }
    const Exchange& exchange = active.call->exchange;
    noteBoot(active.server, exchange);
    const Verdict verdict = judge(exchange);
    if (verdict.lost) {
        leaveServer(active.server, exchange.sent);
    }
    const bool reached = exchange.sent;
    active.call->endAttempt(verdict);
    conclude(std::move(active.call), verdict, reached);
}

void Link::finishHello(std::size_t index) {
    asking_ = false;
    Verdict verdict = judge(hello_);
    if (verdict.kind == Verdict::Kind::ANSWERED) {
        try {
            learnHello(servers_[index]);
            return;
        } catch (const WireError&) {
            verdict = {Verdict::Kind::FAILED,
                       Code::INTERNAL_SERVER_ERROR,
                       "the server does not speak this protocol",
                       {},
                       true,
                       false};
        }
    }
    hello_.fresh = verdict.kind == Verdict::Kind::AT_ONCE;
    if (hello_.fresh) {
        return;  // The next turn asks again.
    }
    if (verdict.code == Code::BAD_NETWORK) {
        leaveServer(index, false);
    }
    for (auto& call : std::exchange(waiting_, {})) {
        conclude(std::move(call), verdict, false);
    }
}

void Link::learnHello(Server& server) {
    const json::Document document{std::string_view(hello_.body)};
    std::uint64_t protocol = 0;
    document.root().forEachMember([&](std::string_view name, const json::Value& value) {
        if (name == "protocol") {
            protocol = value.asUnsigned();
        } else if (name == "boot") {
            server.boot = value.asString();
        } else if (name == "maxBody") {
            mostContent_ = value.asUnsigned();
        }
    });
    if (protocol != protocolVersion || server.boot.empty()) {
        throw WireError("a server of another protocol");
    }
    server.known = true;
}

/// Another boot may have other limits.
void Link::noteBoot(std::size_t index, const Exchange& exchange) {
    const std::string_view boot = headerValue(exchange.headers, headers::boot);
    Server& server = servers_[index];
    if (!boot.empty() && boot != server.boot) {
        server.boot = boot;
        server.known = false;
    }
}

/// Turns to the next server. One that could not be reached may be another one when it is back.
void Link::leaveServer(std::size_t index, bool reached) {
    servers_[index].known = servers_[index].known && reached;
    if (current_ == index) {
        current_ = (current_ + 1) % servers_.size();
    }
}

void Link::conclude(std::unique_ptr<Call> call, const Verdict& verdict, bool reached) {
    if (verdict.kind == Verdict::Kind::AS_POST) {
        call->encodeAsPost();
    }
    if (verdict.kind == Verdict::Kind::AT_ONCE || verdict.kind == Verdict::Kind::AS_POST) {
        waiting_.push_front(std::move(call));
        return;
    }
    if (verdict.kind == Verdict::Kind::ANSWERED) {
        complete(std::move(call));
        return;
    }
    const bool elsewhere = !reached && verdict.code == Code::BAD_NETWORK && !verdict.cause.empty();
    if (elsewhere && ++call->unreachable < servers_.size()) {
        waiting_.push_back(std::move(call));
        return;
    }
    call->unreachable = 0;
    if (verdict.kind == Verdict::Kind::AGAIN) {
        if (const auto pause = call->nextAttempt(verdict, settings_.options.attempts)) {
            pausing_.emplace(Clock::now() + *pause, std::move(call));
            return;
        }
    }
    call->fail(verdict);
    complete(std::move(call));
}

void Link::complete(std::unique_ptr<Call> call) {
    broke_ = orders_.leave(call->place, call->isAnswered()) || broke_;
    const bool answered = !call->hasFailed() && !call->isCancelled();
    if (const auto sink = call->sink) {
        sink->end(std::move(call), answered);
    } else {
        completions_.post(std::move(call));
    }
    const std::lock_guard lock(mutex_);
    --outstanding_;
    drained_.notify_one();
}

void Link::endStalled() {
    const auto now = Clock::now();
    if (now - lastWatch_ < 1s) {
        return;
    }
    lastWatch_ = now;
    for (std::size_t i = active_.size(); i-- > 0;) {
        if (active_[i].transfer->isStalled(settings_.options.timeout)) {
            Active ended = std::move(active_[i]);
            active_.erase(active_.begin() + static_cast<std::ptrdiff_t>(i));
            ended.transfer->exchange().stalled = true;
            finish(std::move(ended), CURLE_OPERATION_TIMEDOUT);
        }
    }
}

void Link::sleep() {
    if (broke_) {
        return;
    }
    auto longest = active_.empty() ? std::chrono::milliseconds(60'000) : 1'000ms;
    if (!pausing_.empty()) {
        const auto due =
            std::chrono::ceil<std::chrono::milliseconds>(pausing_.begin()->first - Clock::now());
        longest = std::clamp(due, std::chrono::milliseconds(0), longest);
    }
    {
        const std::lock_guard lock(mutex_);
        if (!inbox_.empty() || stopping_ || cancelling_) {
            return;
        }
        sleeping_ = true;
    }
    curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(longest.count()), nullptr);
    const std::lock_guard lock(mutex_);
    sleeping_ = false;
}

}  // namespace storage::kvxremote
