#pragma once

/// @file
/// The lists of all records.

#include "storage/kvxfields/Changes.h"
#include "storage/kvxfields/Configuration.h"
#include "storage/kvxfields/Files.h"
#include "storage/kvxfields/Folders.h"
#include "storage/kvxfields/Handles.h"
#include "storage/kvxfields/Session.h"
#include "storage/kvxfields/Sharing.h"
#include "storage/kvxfields/Summaries.h"
