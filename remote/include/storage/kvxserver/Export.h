#pragma once

/// @file
/// Defines KVXSERVER_EXPORT, the mark of everything the shared library exports.

/// Gives a declaration default visibility; everything without it is hidden.
#define KVXSERVER_EXPORT __attribute__((visibility("default")))
