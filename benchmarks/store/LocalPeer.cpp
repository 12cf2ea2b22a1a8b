#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Harness.h"
#include "store/Peer.h"

namespace bench {

namespace {

// How many files of each size there are to read.
constexpr std::size_t filesToRead = 16;

std::string nameOf(std::size_t size, std::size_t number) {
    return "read-" + std::to_string(size) + "-" + std::to_string(number % filesToRead);
}

const std::string& content() {
    static const std::string bytes = [] {
        std::string result(bigFileSize, '\0');
        std::uint32_t state = 1;
        for (char& byte : result) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<char>(state >> 24U);
        }
        return result;
    }();
    return bytes;
}

void expect(std::size_t is, std::size_t wanted) {
    if (is != wanted) {
        throw std::runtime_error("a peer returned something else than was stored");
    }
}

}  // namespace

void LocalPeer::prepare() {
    for (const std::size_t size : {1UL << 10U, 64UL << 10U, 4UL << 20U}) {
        for (std::size_t i = 0; i < filesToRead; ++i) {
            put(nameOf(size, i), std::string_view(content()).substr(0, size));
        }
    }
    put(bigFile, content());
    fill(listedEntries);
}

void LocalPeer::operate(const Load& load, int caller, std::size_t number) {
    static std::atomic<std::size_t> names{0};
    const std::size_t ranges = bigFileSize / load.size;
    switch (load.kind) {
        case Load::PUT:
            return put("put-" + std::to_string(++names),
                       std::string_view(content()).substr(0, load.size));
        case Load::GET:
            return expect(get(caller, nameOf(load.size, number)), load.size);
        case Load::RANGE:
            return expect(readRange(caller, number * 7919 % ranges * load.size, load.size),
                          load.size);
        case Load::LIST:
            return expect(list(), listedEntries);
        case Load::MIXED:
            return operate({number % 4 == 0 ? Load::PUT : Load::GET, load.size}, caller, number);
        case Load::PING:
            return ping(caller);
        case Load::UPLOAD:
            return upload(load.size);
        case Load::DOWNLOAD:
            return expect(download(), load.size);
    }
}

double LocalPeer::run(const Load& load, double milliseconds) {
    const double start = now();
    std::atomic<std::size_t> operations{0};
    std::vector<std::jthread> running;
    for (int caller = 0; caller < load.callers; ++caller) {
        running.emplace_back([&, caller] {
            std::size_t number = static_cast<std::size_t>(caller) * 1000;
            do {
                operate(load, caller, number++);
                ++operations;
            } while (now() - start < milliseconds * 1e6);
        });
    }
    running.clear();
    const double entries = load.kind == Load::LIST ? listedEntries : 1;
    return (now() - start) / static_cast<double>(operations) / entries;
}

}  // namespace bench
