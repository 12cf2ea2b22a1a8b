#pragma once

/// @file
/// Defines KVXSTORE_EXPORT, the mark of everything the shared library exports.

/// Gives a declaration default visibility; everything without it is hidden.
#define KVXSTORE_EXPORT __attribute__((visibility("default")))
