#pragma once

/// @file
/// Defines KVXCLIENT_EXPORT, the mark of everything the shared library exports.

/// Gives a declaration default visibility; everything without it is hidden.
#define KVXCLIENT_EXPORT __attribute__((visibility("default")))
