#include "services/ServiceError.h"

#include <stdexcept>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxstore::services {

namespace {

/// Nests the exception that is being handled when it is made.
class InternalError : public kvxclient::KVXClientException, public std::nested_exception {
public:
    InternalError() : KVXClientException(kvxclient::KVXClientErrorCode::INTERNAL_SERVER_ERROR) {}
};

std::exception_ptr internalError(const char* cause) {
    try {
        throw std::runtime_error(cause);
    } catch (...) {
        return std::make_exception_ptr(InternalError());
    }
}

}  // namespace

std::exception_ptr asServiceError(std::exception_ptr error) {
    try {
        std::rethrow_exception(error);
    } catch (const kvxclient::KVXClientException&) {
        return error;
    } catch (const std::runtime_error&) {
        return std::make_exception_ptr(InternalError());
    } catch (const std::exception& other) {
        return internalError(other.what());
    } catch (...) {
        return internalError("an unknown error");
    }
}

}  // namespace storage::kvxstore::services
