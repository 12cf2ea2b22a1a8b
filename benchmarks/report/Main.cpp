// Writes benchmarks.md and its plots from the results on standard input.

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "report/Plot.h"
#include "report/Results.h"

namespace {

using namespace bench;

std::string timeText(double nanoseconds) {
    static constexpr struct {
        double size;
        const char* name;
    } units[] = {{1e9, "s"}, {1e6, "ms"}, {1e3, "µs"}, {0, "ns"}};
    const auto* unit = units;
    while (nanoseconds < unit->size) {
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", nanoseconds / (unit->size == 0 ? 1 : unit->size),
                  unit->name);
    return text;
}

std::string ratioText(double ratio) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", ratio);
    return text;
}

std::string plotName(const Section& section) {
    std::string name;
    for (const char c : section.name) {
        name +=
            std::isalnum(static_cast<unsigned char>(c)) ? static_cast<char>(std::tolower(c)) : '-';
    }
    return name + ".svg";
}

void writeCircumstances(std::ostream& out, const Results& results) {
    out << "# Benchmarks\n\n"
           "Written by `script/bench` from its own measurements. The contestants of a row take "
           "turns, round after round; times are medians of the rounds, and a ratio is the median "
           "of the rounds' ratios: how many times our time a contestant takes. \"Copying the "
           "answer\" and rates in GB/s are marks for orientation, not rivals. Every contestant of "
           "the encoding "
           "rows makes a `std::string` of a UTF-16 text; libraries that want UTF-8 are fed through "
           "ICU.\n\n"
           "| | |\n|---|---|\n";
    for (const Fact& fact : results.circumstances) {
        out << "| " << fact.name << " | " << fact.value << " |\n";
    }
}

void writeGoals(std::ostream& out, const Results& results,
                const std::map<std::string, std::string>& remarks) {
    out << "\n## Goals\n\n| What | Goal | Reached | | Remark |\n|---|---|---|---|---|\n";
    for (const GoalResult& goal : results.goals) {
        const auto remark = remarks.find(goal.row);
        const bool missed = goal.verdict != "met";
        out << "| " << goal.row << " | " << goal.wanted << " | " << goal.reached << " | "
            << (missed ? "**missed**" : "met") << " | "
            << (missed && remark != remarks.end() ? remark->second : "") << " |\n";
    }
}

void writeLosses(std::ostream& out, const Results& results) {
    out << "\n## Rows that we lose\n\n| What | To | Ours | Theirs |\n|---|---|---|---|\n";
    for (const Section& section : results.sections) {
        for (const TimedRow& row : section.rows) {
            for (const Time& time : row.times) {
                if (time.kind == "rival" && time.ratio < 1) {
                    out << "| " << row.name << " | " << time.contestant << " | "
                        << timeText(row.times.front().nanoseconds) << " | "
                        << timeText(time.nanoseconds) << " |\n";
                }
            }
        }
    }
}

void writeLimits(std::ostream& out) {
    out << "\n## What cannot be had\n\n"
           "- The standard future of GCC 12 makes a system call at each completion, whether or not "
           "somebody waits: `strace -c` counts 1,000 of them for 1,000 promises. The future and "
           "the blocking form share it; the callback form has none.\n"
           "- The lock around the session id is Boost's, which is part of the interface. The rows "
           "that read the session id show what it costs beside `std::shared_mutex`.\n";
}

void writeSection(std::ostream& out, const Section& section) {
    out << "\n## " << section.name << "\n";
    if (!section.rows.empty()) {
        out << "\n![" << section.name << "](benchmarks/" << plotName(section)
            << ")\n\n| What | Contestant | Time | Times ours |\n|---|---|---|---|\n";
    }
    for (const TimedRow& row : section.rows) {
        for (const Time& time : row.times) {
            out << "| " << (time.kind == "ours" ? row.name + " (per " + row.unit + ")" : "")
                << " | " << time.contestant << " | " << timeText(time.nanoseconds) << " | "
                << ratioText(time.ratio) << " |\n";
        }
    }
    if (!section.facts.empty()) {
        out << "\n| What | Measured |\n|---|---|\n";
    }
    for (const Fact& fact : section.facts) {
        out << "| " << fact.name << " | " << fact.value << " |\n";
    }
}

void writeReport(const Results& results, const std::map<std::string, std::string>& remarks,
                 const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder / "benchmarks");
    std::ofstream page(folder / "benchmarks.md");
    page.exceptions(std::ios::failbit | std::ios::badbit);
    writeCircumstances(page, results);
    writeGoals(page, results, remarks);
    writeLosses(page, results);
    writeLimits(page);
    for (const Section& section : results.sections) {
        writeSection(page, section);
        if (!section.rows.empty()) {
            std::ofstream drawing(folder / "benchmarks" / plotName(section));
            drawing.exceptions(std::ios::failbit | std::ios::badbit);
            plot(drawing, section);
        }
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_report remarks folder <results\n");
        return 2;
    }
    std::ifstream remarks(argv[1]);
    writeReport(readResults(std::cin), readRemarks(remarks), argv[2]);
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
