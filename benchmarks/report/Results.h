#pragma once

#include <istream>
#include <map>
#include <string>
#include <vector>

namespace bench {

struct Time {
    std::string contestant;
    double nanoseconds;
    double ratio;      ///< To ours: above 1 where it takes longer.
    std::string kind;  ///< "ours", "rival" or "mark".
};

struct TimedRow {
    std::string name;
    std::string unit;
    std::vector<Time> times;
};

struct Fact {
    std::string name;
    std::string value;
};

struct GoalResult {
    std::string row;
    std::string wanted;
    std::string reached;
    std::string verdict;
};

struct Section {
    std::string name;
    std::vector<TimedRow> rows = {};
    std::vector<Fact> facts = {};
};

/// What the benchmark programs and the script wrote.
struct Results {
    std::vector<Fact> circumstances;  ///< The machine, the versions, the commands.
    std::vector<Section> sections;
    std::vector<GoalResult> goals;
};

/// Reads tab-separated lines: circumstance, time, fact, goal. Throws std::runtime_error on any
/// other.
Results readResults(std::istream& input);

/// Reads remarks on rows: the row's name, a tab and the remark. Lines that begin with # are none.
std::map<std::string, std::string> readRemarks(std::istream& input);

}  // namespace bench
