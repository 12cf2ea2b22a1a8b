#pragma once

#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "client/Call.h"
#include "protocol/Headers.h"
#include "protocol/Wire.h"

namespace storage::kvxremote {

/// A call of one operation: what its record looks like on the way, and its handler.
template <class Operation>
class RemoteCall final : public Call {
public:
    using Request = typename Operation::Request;
    using Response = typename Operation::Response;
    using Handler = typename Operation::Handler;

    RemoteCall(std::shared_ptr<kvxtransport::PendingCalls> group, Orders& orders, Request request,
               Handler handler)
        : Call(std::move(group), repeatableOf<Operation>()),
          orders_(orders),
          request_(std::move(request)),
          handler_(std::move(handler)) {}

    const Request& request() const { return request_; }

    /// Writes the request, which then must not move.
    void encode() { exchange.request = Wire<Operation>::encode(request_); }

    void encodeAsPost() override {
        auto& old = exchange.request.headers;
        WireRequest request = Wire<Operation>::encodeAsPost(request_);
        for (Header& header : old) {
            if (header.first != headers::contentType) {
                request.headers.push_back(std::move(header));
            }
        }
        exchange.request = std::move(request);
    }

    /// Takes the place of this call among those on its handle.
    void order() {
        const std::string handle = kvxtransport::orderOf(request_);
        if (handle.empty()) {
            return;
        }
        place = orders_.next({session(), handle});
        if (!orders_.isBroken(place)) {
            if (place.lane) {
                exchange.request.headers.emplace_back(headers::order, std::to_string(place.number));
            }
            return;
        }
        orders_.leave(std::exchange(place, {}), false);
        if (!isAbort()) {
            giveUp(lostCall);
        }
    }

    void run() noexcept override {
        Response response;
        std::exception_ptr error = takeError();
        try {
            if (!error) {
                response = decode();
            }
        } catch (const std::exception& failure) {
            error = makeError(kvxclient::KVXClientErrorCode::INTERNAL_SERVER_ERROR, failure.what());
        }
        if (sink) {
            const std::string failure = sink->close(!error);
            if (!error && !failure.empty()) {
                error = makeError(kvxclient::KVXClientErrorCode::INTERNAL_SERVER_ERROR, failure);
            }
        }
        try {
            if (error) {
                handler_({}, std::move(error));
            } else {
                handler_(std::move(response), nullptr);
            }
        } catch (...) {
            // The caller's handler threw: there is nobody left to tell.
        }
    }

private:
    /// Whether the call gives up the changes through its handle, which no lost call can spoil.
    bool isAbort() const {
        if constexpr (std::is_same_v<Operation, kvxtransport::operations::CloseFileHandle>) {
            return request_.getOperation() == kvxclient::FileHandleCloseOperation::ABORT_CHANGES;
        } else {
            return false;
        }
    }

    Response decode() {
        if constexpr (std::is_same_v<Operation, kvxtransport::operations::DownloadFile>) {
            return Response().withStringBody(std::move(exchange.body));
        } else {
            Response response =
                Wire<Operation>::decodeAnswer(exchange.headers, std::move(exchange.body));
            using namespace kvxtransport::operations;
            if constexpr (std::is_same_v<Operation, CreateReadWriteFileHandle>) {
                orders_.open({session(), response.getFileHandleId()});
            } else if constexpr (std::is_same_v<Operation, CloseFileHandle>) {
                orders_.close({session(), request_.getFileHandleId()});
            }
            return response;
        }
    }

    Orders& orders_;
    const Request request_;
    Handler handler_;
};

}  // namespace storage::kvxremote
