// Measures the library beside its peers. With --quick it takes a few seconds and fails when a row
// misses half of its goal.

#include <cstdio>
#include <cstring>

#include "library/Rows.h"

// Short rounds, many of them: what disturbs the machine then spoils few, and the median none.
double bench::roundTime = 1;

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    if (quick) {
        bench::roundTime = 0.5;
    }
    const int rounds = quick ? 15 : 61;
    bool halfReached = true;
    for (const auto& rows :
         {bench::encodingRows(), bench::callRows(), bench::recordRows(), bench::startupRows()}) {
        for (const bench::Row& row : rows) {
            // What disturbs the machine for longer than a row does not last for three.
            if (!bench::run(row, rounds) && !(quick && bench::run(row, rounds)) &&
                !(quick && bench::run(row, rounds))) {
                halfReached = false;
                std::fprintf(stderr, "%s: less than half of a goal\n", row.name.c_str());
            }
        }
    }
    return quick && !halfReached ? 1 : 0;
}
