#pragma once

/// Marks what the shared library offers; everything else is hidden.
#if defined(__GNUC__)
#define KVXSTORE_EXPORT __attribute__((visibility("default")))
#else
#define KVXSTORE_EXPORT
#endif
