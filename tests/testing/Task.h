#pragma once

#include <coroutine>
#include <future>
#include <string>

namespace storage::kvxtesting {

/// A coroutine that begins at once; its end completes a future.
struct Task {
    struct promise_type : std::promise<std::string> {
        Task get_return_object() { return {get_future()}; }
        std::suspend_never initial_suspend() const { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_value(std::string value) { set_value(std::move(value)); }
        void unhandled_exception() { set_exception(std::current_exception()); }
    };
    std::future<std::string> result;
};

}  // namespace storage::kvxtesting
