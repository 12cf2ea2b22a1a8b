// Counts what one call costs apart from time. A program of its own, since counting allocations
// slows them down.

#include <cstdio>

#include "storage/kvxtesting/Awaitable.h"
#include "storage/kvxtesting/ScriptedTransport.h"
#include "support/Allocations.h"

namespace {

using namespace storage::kvxclient;
using namespace storage::kvxtesting;

struct MovesCounted {
    MovesCounted() = default;
    MovesCounted(MovesCounted&&) noexcept { ++moves; }
    MovesCounted& operator=(MovesCounted&&) noexcept {
        ++moves;
        return *this;
    }
    static inline int moves = 0;
};

int movesIntoPromise() {
    std::promise<MovesCounted> promise;
    const auto future = promise.get_future();
    const auto handler = promiseCompletingHandler(std::move(promise));
    MovesCounted response;
    handler(std::move(response), nullptr);
    return MovesCounted::moves;
}

std::size_t allocationsOfCall() {
    const ScriptedClient client("endpoint");
    allocations::count = 0;
    const auto future = client.logoutAsync(LogoutRequest());
    return allocations::count;
}

Task<std::size_t> allocationsOfAwaiting() {
    const ScriptedClient client("endpoint");
    allocations::count = 0;
    co_await async::logout(client);
    co_return allocations::count;
}

void print(const char* name, std::size_t count, std::size_t goal) {
    std::printf("fact\tCalls\t%s\t%zu\n", name, count);
    std::printf("goal\tCalls\t%s\tat most %zu\t%zu\t%s\n", name, goal, count,
                count <= goal ? "met" : "missed");
}

}  // namespace

int main() {
    print("moves of the response from handler to promise",
          static_cast<std::size_t>(movesIntoPromise()), 2);
    print("allocations of a future form, completed inline", allocationsOfCall(), 4);
    print("allocations of awaiting, completed inline", start(allocationsOfAwaiting()).get(),
          allocationsOfCall() - 1);
}
