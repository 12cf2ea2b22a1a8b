#!/bin/sh
# Makes a test of the C++ in a guide. usage: guide.sh GUIDE PROGRAM
set -eu
{
    echo '#include <gtest/gtest.h>'
    echo '#include "Task.h"'
    echo 'using storage::kvxtesting::Task;'
    sed -n '/^```cpp$/,/^```$/p' "$1" | sed -e '/^```/d'
} >"$2"
