#pragma once

#include <exception>

namespace storage::kvxstore::services {

/// The error as a caller sees it: one of the service as it is, any other as INTERNAL_SERVER_ERROR,
/// which nests a std::runtime_error with the cause.
std::exception_ptr asServiceError(std::exception_ptr error);

}  // namespace storage::kvxstore::services
