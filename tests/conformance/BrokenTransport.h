#pragma once

#include <string>

#include "storage/kvxconformance/Conformance.h"

namespace storage::kvxconformance {

/// The transport, with clients that misbehave in the way that is named; an empty name changes
/// nothing, and so does one that is not known.
Transport breakTransport(Transport transport, const std::string& misbehaviour);

}  // namespace storage::kvxconformance
