#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One way of doing a row's work. The first of a row is ours.
struct Contestant {
    std::string name;
    /// Does the work for one round and returns the nanoseconds of one operation.
    std::function<double()> measure;
    /// No rival but a mark for orientation, such as copying the ready answer.
    bool isMark = false;
};

/// Makes a mark of a contestant.
Contestant asMark(Contestant contestant);

/// What the first contestant is to reach against another.
struct Goal {
    enum Kind { TIMES_AS_FAST, TIMES_THE_TIME, NANOSECONDS_MORE };
    Kind kind;
    double factor;     ///< Times, or nanoseconds.
    std::string peer;  ///< Empty means each of those that are no marks.
    /// Whether reaching less than half of it is a fault; not where the machine decides.
    bool gate = true;
};

/// The same work done by several contestants, and what is wanted of the first.
struct Row {
    std::string section;
    std::string name;
    std::string unit;  ///< What one operation is.
    std::vector<Contestant> contestants;
    std::vector<Goal> goals = {};
};

/// Runs all contestants of a row in turn, `rounds` times over, and writes the medians and ratios to
/// standard output, one line for each contestant and goal, tab-separated. Returns whether at least
/// half of every goal that is a gate was reached.
bool run(const Row& row, int rounds);

/// Keeps the compiler from leaving out the work that makes a value.
template <class Value>
void keep(const Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

/// A contestant that calls `work` over and over for about `milliseconds` a round; one call is
/// `operations` operations.
Contestant repeated(std::string name, std::function<void(int calls)> work, double milliseconds,
                    double operations = 1);

/// As above for work that does a single call, inlined into the loop.
template <class Work>
Contestant timed(std::string name, Work work, double milliseconds, double operations = 1) {
    return repeated(
        std::move(name),
        [work](int calls) {
            for (int i = 0; i < calls; ++i) {
                work();
            }
        },
        milliseconds, operations);
}

/// Nanoseconds since some moment.
double now();

}  // namespace bench
