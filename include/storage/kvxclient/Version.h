#pragma once

/// @file
/// The version of the library. The build reads it from this file.

/// Increased when the interface changes incompatibly; also the SOVERSION of the shared library.
#define KVXCLIENT_VERSION_MAJOR 1
/// Increased when the interface grows compatibly.
#define KVXCLIENT_VERSION_MINOR 0
/// Increased for every other release.
#define KVXCLIENT_VERSION_PATCH 0
