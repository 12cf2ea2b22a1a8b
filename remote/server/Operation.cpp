#include "Operation.h"

#include <algorithm>
#include <utility>

namespace storage::kvxserver {

namespace {

using namespace kvxtransport;
using kvxclient::KVXClientErrorCode;
using kvxremote::Wire;
using kvxremote::WireRequest;

/// What an answer of unknown size is expected to hold in memory.
constexpr std::size_t expectedFile = Spill::inMemory;

std::optional<KVXClientErrorCode> codeIn(const std::exception_ptr& error) {
    if (!error) {
        return std::nullopt;
    }
    try {
        std::rethrow_exception(error);
    } catch (const kvxclient::KVXClientException& exception) {
        return exception.getErrorCode();
    } catch (...) {
        return KVXClientErrorCode::INTERNAL_SERVER_ERROR;
    }
}

template <class Response>
std::string openedBy(const Response& response) {
    if constexpr (std::is_same_v<Response, kvxclient::LoginResponse>) {
        return response.getSessionId();
    } else if constexpr (std::is_same_v<Response, kvxclient::FileHandleReadOnlyCreateResponse> ||
                         std::is_same_v<Response, kvxclient::FileHandleReadWriteCreateResponse>) {
        return response.getFileHandleId();
    } else {
        return {};
    }
}

template <class Type>
class TypedJob final : public Job {
public:
    TypedJob(typename Type::Request request, std::size_t mostContent)
        : request_(std::move(request)), mostContent_(mostContent) {
        handle = orderOf(request_);
        if constexpr (requires { request_.getResource(); }) {
            if (!handle.empty() || isOpening) {
                resource = request_.getResource();
            }
        }
        if constexpr (std::is_same_v<Type, operations::Login>) {
            token = request_.getToken();
        } else if constexpr (std::is_same_v<Type, operations::ReadFile>) {
            expected = std::min(expectedFile, mostContent);
        } else if constexpr (std::is_same_v<Type, operations::DownloadFile>) {
            expected = Spill::inMemory;
        } else if constexpr (std::is_same_v<Type, operations::ReadFileContent>) {
            // One byte more tells that there is too much.
            request_.withLength(std::min<std::size_t>(request_.getLength(), mostContent + 1));
            expected = request_.getLength();
        }
    }

    void start(const SessionClient& client, std::shared_ptr<Completion> completion) override {
        if constexpr (std::is_same_v<Type, operations::DownloadFile>) {
            request_.withReadIntoString(false).withStreamFactory(
                [to = spill] { return to->stream(); });
        }
        Type::start(client.service<typename Type::Service>(), std::move(request_),
                    [completion = std::move(completion), most = mostContent_](
                        typename Type::Response response, std::exception_ptr error) {
                        completion->complete(resultOf(std::move(response), error, most));
                    });
    }

private:
    static constexpr bool isOpening = std::is_same_v<Type, operations::CreateReadOnlyFileHandle> ||
                                      std::is_same_v<Type, operations::CreateReadWriteFileHandle>;

    static Result resultOf(typename Type::Response response, const std::exception_ptr& error,
                           std::size_t most) {
        Result result;
        result.error = codeIn(error);
        if constexpr (!std::is_same_v<Type, operations::DownloadFile>) {
            if (!result.error) {
                try {
                    result.opened = openedBy(response);
                    result.answer = Wire<Type>::encodeAnswer(std::move(response));
                } catch (const std::exception&) {
                    result.error = KVXClientErrorCode::INTERNAL_SERVER_ERROR;
                }
            }
            if constexpr (std::is_same_v<Type, operations::ReadFile> ||
                          std::is_same_v<Type, operations::ReadFileContent>) {
                if (result.answer.size.value_or(0) > most) {
                    result = {KVXClientErrorCode::FILE_TOO_LARGE, {}, {}};
                }
            }
        }
        return result;
    }

    typename Type::Request request_;
    const std::size_t mostContent_;
};

template <class Type>
constexpr Operation describe() {
    using namespace operations;
    constexpr auto is = []<class... Types>() { return (std::is_same_v<Type, Types> || ...); };
    Operation operation;
    operation.name = Type::name;
    operation.writes = Type::access == Access::WRITE;
    operation.isOnce = Type::repeat == Repeat::ONCE;
    operation.needsSession = Type::need == Need::SESSION;
    operation.isHeavy = is.template operator()<ListFolder, ListMultiFolder, ListFileChanges>();
    operation.opensHandle =
        is.template operator()<CreateReadOnlyFileHandle, CreateReadWriteFileHandle>();
    operation.isLogin = is.template operator()<Login>();
    operation.isLogout = is.template operator()<Logout>();
    operation.isClose = is.template operator()<CloseFileHandle>();
    operation.isDownload = is.template operator()<DownloadFile>();
    operation.keepsBody = is.template operator()<WriteFileContent>();
    operation.decode = [](const WireRequest& request, std::size_t mostContent) {
        return std::unique_ptr<Job>(
            std::make_unique<TypedJob<Type>>(Wire<Type>::decode(request), mostContent));
    };
    return operation;
}

// Made by the compiler: servers may end after all objects with destructors have.
#define KVXSERVER_OPERATION(Service, operation, Type, ...) describe<operations::Type>(),
constexpr Operation operationTable[] = {KVXTRANSPORT_OPERATIONS(KVXSERVER_OPERATION)};
#undef KVXSERVER_OPERATION

}  // namespace

Completion::~Completion() { complete({KVXClientErrorCode::INTERNAL_SERVER_ERROR, {}, {}}); }

void Completion::complete(Result result) {
    if (auto take = std::exchange(take_, nullptr)) {
        take(std::move(result));
        take = nullptr;
        over_();
    }
}

const Operation& operationAt(std::size_t index) { return operationTable[index]; }

}  // namespace storage::kvxserver
