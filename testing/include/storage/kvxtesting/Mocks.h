#pragma once

/// @file
/// GoogleMock classes of the six services, and actions for their calls.

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "storage/kvxclient.h"
#include "storage/kvxtesting/Printing.h"
#include "storage/kvxtransport/OperationTable.h"

namespace storage::kvxtesting {

/// @page mocks Mocks
///
/// `MockFileAccess` and its like have one mocked function an operation, the callback form:
/// `EXPECT_CALL(files, readFile(HasPath(u"/a"), _)).WillOnce(Answers(response))`. The blocking and
/// the future form are the service's own and come to it. A call that no action completes has its
/// handler dropped: blocking forms then throw std::future_error, and nothing waits for ever.

/// @cond  Documentation cannot see what macros make.
#define KVXTESTING_MOCK(Service, operation, Type, Request, Response, ...)                \
    using kvxclient::Service::operation;                                                 \
    MOCK_METHOD(void, operation,                                                         \
                (kvxclient::Request, kvxclient::CompletionHandler<kvxclient::Response>), \
                (const, override));

#define KVXTESTING_MOCK_SERVICE(Service, ROWS)                                      \
    class Mock##Service : public kvxclient::Service {                               \
    public:                                                                         \
        Mock##Service()                                                             \
            : Service(                                                              \
                  "mock:", [] { return std::string("session"); }, "application") {} \
        ROWS(KVXTESTING_MOCK)                                                       \
    };

KVXTESTING_MOCK_SERVICE(FileAccess, KVXTRANSPORT_FILE_OPERATIONS)
KVXTESTING_MOCK_SERVICE(AccessControl, KVXTRANSPORT_SHARING_OPERATIONS)
KVXTESTING_MOCK_SERVICE(ConfigurationManagement, KVXTRANSPORT_CONFIGURATION_OPERATIONS)
KVXTESTING_MOCK_SERVICE(Notification, KVXTRANSPORT_NOTIFICATION_OPERATIONS)
#undef KVXTESTING_MOCK_SERVICE
/// @endcond

/// A mock of IVersioning; see the page "Mocks".
class MockVersioning : public kvxclient::IVersioning {
public:
    KVXTRANSPORT_VERSIONING_OPERATIONS(KVXTESTING_MOCK)
};

/// A mock of KVXClient; see the page "Mocks". Its services are what a test has createFileAccess()
/// and its like return.
class MockKVXClient : public kvxclient::KVXClient {
public:
    /// A client of no endpoint.
    MockKVXClient() : KVXClient("mock:") {}

    using KVXClient::ping;
    /// @cond
    MOCK_METHOD(void, ping, (kvxclient::CompletionHandler<kvxclient::PingResponse>),
                (const, override));
    KVXTRANSPORT_SESSION_OPERATIONS(KVXTESTING_MOCK)
    MOCK_METHOD(std::unique_ptr<kvxclient::FileAccess>, createFileAccess, (), (const, override));
    MOCK_METHOD(std::unique_ptr<kvxclient::AccessControl>, createAccessControl, (),
                (const, override));
    MOCK_METHOD(std::unique_ptr<kvxclient::ConfigurationManagement>, createConfigurationManagement,
                (), (const, override));
    MOCK_METHOD(std::unique_ptr<kvxclient::Notification>, createNotification, (),
                (const, override));
    MOCK_METHOD(std::unique_ptr<kvxclient::IVersioning>, createVersioning, (), (const, override));
    MOCK_METHOD(void, cancelPendingCalls, (), (const, override));
    MOCK_METHOD(void, waitForPendingCalls, (), (const, override));
    /// @endcond
};

#undef KVXTESTING_MOCK

/// An action: completes the call inline with this response.
template <class Response>
auto Answers(Response response) {
    return [response = std::move(response)](const auto&... arguments) {
        std::get<sizeof...(arguments) - 1>(std::tie(arguments...))(response, nullptr);
    };
}

/// An action: completes the call inline with this code.
inline auto Fails(kvxclient::KVXClientErrorCode code) {
    return [error = std::make_exception_ptr(kvxclient::KVXClientException(code))](
               const auto&... arguments) {
        std::get<sizeof...(arguments) - 1>(std::tie(arguments...))({}, error);
    };
}

}  // namespace storage::kvxtesting
