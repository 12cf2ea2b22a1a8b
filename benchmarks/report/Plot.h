#pragma once

#include <ostream>

#include "report/Results.h"

namespace bench {

/// Draws a section as SVG: a bar for each contestant from our time, the line at 1, to its own, on
/// a logarithmic scale.
void plot(std::ostream& out, const Section& section);

}  // namespace bench
