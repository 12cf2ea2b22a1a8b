#include "Harness.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>

namespace bench {

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// How many times as fast as the contestant we are, as the median of the rounds.
double ratio(const std::vector<double>& theirs, const std::vector<double>& ours) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        ratios.push_back(theirs[i] / ours[i]);
    }
    return median(ratios);
}

double medianDifference(const std::vector<double>& theirs, const std::vector<double>& ours) {
    std::vector<double> differences;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        differences.push_back(ours[i] - theirs[i]);
    }
    return median(differences);
}

void printGoal(const Row& row, const Goal& goal, double reached, bool met) {
    const std::string peer = goal.peer.empty() ? "the best rival" : goal.peer;
    char wanted[32];
    std::snprintf(wanted, sizeof wanted, "%g", goal.factor);
    std::string text = "at least as fast as " + peer;
    if (goal.kind == Goal::NANOSECONDS_MORE) {
        text = "at most " + std::string(wanted) + " ns more than " + peer;
    } else if (goal.kind == Goal::TIMES_THE_TIME) {
        text = "at most " + std::string(wanted) + " times the time of " + peer;
    } else if (goal.factor != 1) {
        text = std::string(wanted) + " times as fast as " + peer;
    }
    std::printf("goal\t%s\t%s\t%s\t%.2f %s\t%s\n", row.section.c_str(), row.name.c_str(),
                text.c_str(), reached, goal.kind == Goal::NANOSECONDS_MORE ? "ns" : "times",
                met ? "met" : "missed");
}

bool judgeDifference(const Row& row, const Goal& goal,
                     const std::vector<std::vector<double>>& times) {
    std::size_t peer = 1;
    while (row.contestants.at(peer).name != goal.peer) {
        ++peer;
    }
    const double more = medianDifference(times[peer], times[0]);
    printGoal(row, goal, more, more <= goal.factor);
    return !goal.gate || more <= goal.factor * 2;
}

bool judge(const Row& row, const Goal& goal, const std::vector<double>& ratios) {
    double worst = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < ratios.size(); ++i) {
        const Contestant& peer = row.contestants[i];
        if (goal.peer.empty() ? !peer.isMark : peer.name == goal.peer) {
            worst = std::min(worst, ratios[i]);
        }
    }
    if (worst == std::numeric_limits<double>::infinity()) {
        return true;  // The peer is not here today.
    }
    const bool faster = goal.kind == Goal::TIMES_AS_FAST;
    const double wanted = faster ? goal.factor : 1 / goal.factor;
    printGoal(row, goal, faster ? worst : 1 / worst, worst >= wanted);
    return !goal.gate || worst >= wanted / 2;
}

}  // namespace

double now() {
    return std::chrono::duration<double, std::nano>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

Contestant repeated(std::string name, std::function<void(int)> work, double milliseconds,
                    double operations) {
    // The first round finds out how many calls fill the time; it also warms up.
    const auto calls = std::make_shared<int>(0);
    auto measure = [work = std::move(work), milliseconds, operations, calls] {
        for (*calls = std::max(*calls, 1);; *calls *= 2) {
            const double start = now();
            work(*calls);
            const double time = now() - start;
            if (time >= milliseconds * 1e6 / 2) {
                return time / *calls / operations;
            }
        }
    };
    return {std::move(name), std::move(measure)};
}

Contestant asMark(Contestant contestant) {
    contestant.isMark = true;
    return contestant;
}

bool run(const Row& row, int rounds) {
    std::vector<std::vector<double>> times(row.contestants.size());
    for (const Contestant& contestant : row.contestants) {
        contestant.measure();
    }
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < times.size(); ++i) {
            times[i].push_back(row.contestants[i].measure());
        }
    }
    std::vector<double> ratios;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const Contestant& contestant = row.contestants[i];
        ratios.push_back(ratio(times[i], times[0]));
        std::printf("time\t%s\t%s\t%s\t%s\t%.2f\t%.4f\t%s\n", row.section.c_str(), row.name.c_str(),
                    row.unit.c_str(), contestant.name.c_str(), median(times[i]), ratios.back(),
                    i == 0              ? "ours"
                    : contestant.isMark ? "mark"
                                        : "rival");
    }
    bool halfReached = true;
    for (const Goal& goal : row.goals) {
        halfReached &= goal.kind == Goal::NANOSECONDS_MORE ? judgeDifference(row, goal, times)
                                                           : judge(row, goal, ratios);
    }
    std::fflush(stdout);
    return halfReached;
}

}  // namespace bench
