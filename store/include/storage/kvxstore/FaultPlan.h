#pragma once

/// @file
/// The faults of StoreOptions::faults.

#include "storage/kvxtransport/FaultPlan.h"

namespace storage::kvxstore {

// A plan works on every transport, and so does not belong to the store.
using kvxtransport::Fault;
using kvxtransport::FaultPlan;

}  // namespace storage::kvxstore
