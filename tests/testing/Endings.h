#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "storage/kvxtransport/Operations.h"

namespace storage::kvxtesting {

using LoginHandler = kvxclient::CompletionHandler<kvxclient::LoginResponse>;

inline std::exception_ptr conflict() {
    return std::make_exception_ptr(
        kvxclient::KVXClientException(kvxclient::KVXClientErrorCode::CONFLICT));
}

/// The threads that complete calls later; clearing joins them.
inline std::vector<std::jthread>& laterThreads() {
    static std::vector<std::jthread> threads;
    return threads;
}

/// How a transport ends a login, and what whoever waits for it sees then.
struct Ending {
    const char* name;
    std::function<void(std::string token, LoginHandler handler)> end;
    std::string outcome;
};

inline std::vector<Ending> endings() {
    const auto answers = [](std::string token, LoginHandler handler) {
        handler(kvxclient::LoginResponse().withSessionId(token), nullptr);
    };
    const auto fails = [](const std::string&, LoginHandler handler) { handler({}, conflict()); };
    const auto drops = [](const std::string&, const LoginHandler&) {};
    const auto later = [](auto end) {
        return [end](std::string token, LoginHandler handler) {
            laterThreads().emplace_back([end, token, handler = std::move(handler)]() mutable {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                end(token, std::exchange(handler, nullptr));
            });
        };
    };
    const auto throws = [](const std::string&, const LoginHandler&) {
        throw std::runtime_error("refused");
    };
    return {
        {"answers", answers, "token"},
        {"answers later", later(answers), "token"},
        {"fails", fails, "Error: KVXClientErrorCode::CONFLICT"},
        {"fails later", later(fails), "Error: KVXClientErrorCode::CONFLICT"},
        {"drops", drops, std::future_error(std::future_errc::broken_promise).what()},
        {"drops later", later(drops), std::future_error(std::future_errc::broken_promise).what()},
        {"throws", throws, "refused"}};
}

/// The session id that `get` returns, or what it throws.
template <class Get>
std::string outcomeOf(Get get) {
    try {
        return get().getSessionId();
    } catch (const std::exception& error) {
        return error.what();
    }
}

/// As above, without hanging where nothing comes.
inline std::string outcomeOf(std::future<kvxclient::LoginResponse> future) {
    if (future.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
        return "nothing";
    }
    return outcomeOf([&] { return future.get(); });
}

}  // namespace storage::kvxtesting
