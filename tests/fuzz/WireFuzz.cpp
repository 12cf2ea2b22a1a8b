#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "protocol/Headers.h"
#include "protocol/Wire.h"

using namespace storage::kvxremote;

namespace {

std::string allOf(const WireAnswer& answer) {
    std::string all;
    for (std::string_view block = answer.body->next(); !block.empty();
         block = answer.body->next()) {
        all += block;
    }
    return all;
}

bool same(const WireRequest& a, const WireRequest& b) {
    return a.method == b.method && a.target == b.target && a.headers == b.headers &&
           a.body == b.body && a.content == b.content;
}

// What is understood means the same after another trip.
template <class Operation>
void checkRequest(const WireRequest& request) {
    const auto record = Wire<Operation>::decode(request);
    const WireRequest again = Wire<Operation>::encode(record);
    const auto route = findRoute(again.method, again.target, again.headers);
    if (!route || route->operation != indexOf<Operation>() ||
        !same(Wire<Operation>::encode(Wire<Operation>::decode(again)), again)) {
        std::abort();
    }
}

template <class Operation>
void checkAnswer(const std::string& text) {
    const WireAnswer first = Wire<Operation>::encodeAnswer(Wire<Operation>::decodeAnswer({}, text));
    const std::string written = allOf(first);
    const WireAnswer second =
        Wire<Operation>::encodeAnswer(Wire<Operation>::decodeAnswer(first.headers, written));
    if (allOf(second) != written) {
        std::abort();
    }
}

// Reads it as an answer of the operation at the index.
void readAnswer(std::size_t index, const std::string& text) {
    std::size_t place = 0;
    storage::kvxtransport::forEachOperation([&](auto operation) {
        if (place++ == index) {
            checkAnswer<decltype(operation)>(text);
        }
    });
}

// Reads lines as a request: method and target, the headers that matter, then the body.
void readRequest(std::string_view text) {
    const auto take = [&text](char end) {
        const std::string_view taken = text.substr(0, text.find(end));
        text.remove_prefix(std::min(taken.size() + 1, text.size()));
        return std::string(taken);
    };
    WireRequest request;
    request.method = take(' ');
    request.target = take('\n');
    for (const std::string_view name : {headers::jsonSize, headers::range, headers::contentType}) {
        request.headers.emplace_back(name, take('\n'));
    }
    const auto route = findRoute(request.method, request.target, request.headers);
    if (!route || route->jsonSize > text.size()) {
        return;
    }
    request.body = text.substr(0, route->hasContent ? route->jsonSize : text.size());
    request.content = text.substr(request.body.size());
    std::size_t place = 0;
    storage::kvxtransport::forEachOperation([&](auto operation) {
        if (place++ == route->operation) {
            checkRequest<decltype(operation)>(request);
        }
    });
}

}  // namespace

// The first byte says what the rest is read as: a request, or the answer of an operation.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.empty()) {
        return 0;
    }
    try {
        if (data[0] == 'R') {
            readRequest(text.substr(1));
        } else {
            readAnswer(data[0] % 64, std::string(text.substr(1)));
        }
    } catch (const WireError&) {
    }
    return 0;
}
