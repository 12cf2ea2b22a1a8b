#pragma once

/// @file
/// Defines KVXREMOTE_EXPORT, the mark of everything the shared library exports.

/// Gives a declaration default visibility; everything without it is hidden.
#define KVXREMOTE_EXPORT __attribute__((visibility("default")))
