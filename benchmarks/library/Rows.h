#pragma once

#include <vector>

#include "Harness.h"

namespace bench {

/// How long one contestant runs in one round, in milliseconds.
extern double roundTime;

/// The rows of the library, by subject.
std::vector<Row> encodingRows();
std::vector<Row> callRows();
std::vector<Row> recordRows();
std::vector<Row> startupRows();

}  // namespace bench
