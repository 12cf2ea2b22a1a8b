#pragma once

#include <string>

#include "storage/kvxconformance/Conformance.h"

namespace storage::kvxconformance {

/// The transport, with clients that misbehave as the fault says; an empty fault changes nothing,
/// and so does one that is not known.
Transport breakTransport(Transport transport, const std::string& fault);

}  // namespace storage::kvxconformance
