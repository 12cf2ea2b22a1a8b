#pragma once

/// @file
/// Faults to happen on purpose, for StoreOptions::faults.

#include "storage/kvxtransport/FaultPlan.h"

namespace storage::kvxstore {

// They work on every transport, and so do not belong to the store.
using kvxtransport::Fault;
using kvxtransport::FaultPlan;

}  // namespace storage::kvxstore
