#include "services/Call.h"

#include <exception>
#include <stdexcept>

namespace storage::kvxstore::services {

namespace {

class Failure : public kvxclient::KVXClientException, public std::nested_exception {
public:
    using KVXClientException::KVXClientException;
};

}  // namespace

std::exception_ptr failure(kvxclient::KVXClientErrorCode code, const std::string& cause) {
    try {
        throw std::runtime_error(cause);
    } catch (...) {
        return std::make_exception_ptr(Failure(code));
    }
}

std::exception_ptr asServiceError(std::exception_ptr error) {
    constexpr auto code = kvxclient::KVXClientErrorCode::INTERNAL_SERVER_ERROR;
    try {
        std::rethrow_exception(error);
    } catch (const kvxclient::KVXClientException&) {
        return error;
    } catch (const std::runtime_error&) {
        // A runtime_error says what happened; the exception just made nests it as it is.
        return std::make_exception_ptr(Failure(code));
    } catch (const std::exception& other) {
        return failure(code, other.what());
    } catch (...) {
        return failure(code, "an unknown error");
    }
}

}  // namespace storage::kvxstore::services
