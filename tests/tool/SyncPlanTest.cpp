#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "SyncPlan.h"

namespace storage::kvxtool {
namespace {

// "d/" is a folder, "d/?" one that could not be listed, "l@" a link, "f=1:5" a file of size 1 and
// time 5, "f=1:5*" one whose time is the store's own.
SyncTree tree(const std::string& words) {
    SyncTree result;
    result[""].kind = SyncEntry::Kind::FOLDER;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        const std::size_t end = word.find_first_of("=@") != std::string::npos
                                    ? word.find_first_of("=@")
                                    : word.rfind('/');
        SyncEntry& entry = result[word.substr(0, end)];
        if (word[end] == '=') {
            entry.size = std::stoul(word.substr(end + 1));
            const int time = std::stoi(word.substr(word.find(':') + 1));
            entry.modified = std::chrono::system_clock::time_point(std::chrono::nanoseconds(time));
            entry.modifiedByClient = !word.ends_with('*');
        } else {
            entry.kind = word[end] == '/' ? SyncEntry::Kind::FOLDER : SyncEntry::Kind::LINK;
            entry.complete = !word.ends_with('?');
        }
    }
    return result;
}

std::string text(const SyncPlan& plan) {
    std::string result;
    const auto add = [&](const char* sign, const auto& steps) {
        std::for_each(steps.begin(), steps.end(),
                      [&](const auto& step) { result += sign + step.path + ' '; });
    };
    add("-", plan.deletions);
    add("+", plan.folders);
    add(">", plan.transfers);
    add("?", plan.comparisons);
    add("!", plan.conflicts);
    return result + std::to_string(plan.unchanged);
}

TEST(SyncPlan, FollowsFromTheTrees) {
    struct Case {
        const char* source;
        const char* target;
        const char* plan;
        const char* deletingPlan;
    };
    const Case cases[] = {
        {"a=1:5 d/ d/e/ d/e/f=0:0", "", "+d +d/e >a >d/e/f 0", "+d +d/e >a >d/e/f 0"},
        {"a=1:5 b=1:5 c=1:-5", "a=1:5 b=2:5 c=1:5", ">b >c 1", ">b >c 1"},
        {"a=1:0 b=1:0 c=1:9", "a=1:7* b=1:7 c=1:7*", ">b >c 1", ">b >c 1"},
        {"", "a=1:5 d/ d/e/ d/e/f=1:5", "0", "-d/e/f -d/e -d -a 0"},
        {"d/ d-x=1:5", "d/ d/a=1:1 d-x=1:5", "1", "-d/a 1"},
        // What the source could not list or leaves out is not deleted.
        {"d/? l@", "d/ d/a=1:5 l/ l/b=1:5 x=1:5", "0", "-x 0"},
        // What the target leaves out or could not list stays, and with it what holds it.
        {"", "d/ d/a=1:5 d/l@ e/? l@", "0", "-d/a 0"},
        // Of different kinds: it takes the place, with all that is in it, or none of it.
        {"x=1:5", "x/ x/y/ x/y/z=1:5", "!x 0", "-x/y/z -x/y -x >x 0"},
        {"x/ x/y=1:5", "x=1:5", "!x 0", "-x +x >x/y 0"},
        {"x/ x/y=1:5 z=1:5", "x@ z@", "!x !z 0", "-z -x +x >z >x/y 0"},
        {"x=1:5", "x/ x/a=1:5 x/l@ x/y/ x/y/z=1:5", "!x 0", "!x 0"},
        {"x=1:5", "x/ x/y/?", "!x 0", "!x 0"},
    };
    for (const auto& [source, target, plan, deletingPlan] : cases) {
        EXPECT_EQ(text(planSync(tree(source), tree(target), {})), plan) << source << "|" << target;
        EXPECT_EQ(text(planSync(tree(source), tree(target), {true, false})), deletingPlan)
            << source << "|" << target;
    }
    EXPECT_EQ(text(planSync(tree("a=1:5 b=1:5 c=1:5"), tree("a=1:9 b=2:5"), {false, true})),
              ">b >c ?a 0");
}

}  // namespace
}  // namespace storage::kvxtool
