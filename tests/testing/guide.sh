#!/bin/sh
# Writes the C++ of a guide, but for the blocks that match a pattern. usage: guide.sh GUIDE PATTERN
set -eu
awk -v leftOut="$2" '
    $0 == "```cpp" { inside = 1; block = ""; next }
    $0 == "```" && inside { inside = 0; if (block !~ leftOut) printf "%s", block }
    inside { block = block $0 "\n" }
' "$1"
