#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Scene.h"

namespace storage::kvxconformance {

/// One requirement. In addition, every call that a clause makes must complete exactly once.
struct Clause {
    std::string id;
    std::function<void(Scene&)> check;
    /// Capabilities in addition to the one that the id begins with, as in "handles.read.ranges".
    std::set<Capability> alsoNeeds = {};
};

using Clauses = std::vector<Clause>;

extern const Clauses sessionClauses;
extern const Clauses callClauses;
extern const Clauses concurrencyClauses;
extern const Clauses fileClauses;
extern const Clauses folderClauses;
extern const Clauses relocationClauses;
extern const Clauses handleClauses;
extern const Clauses versionClauses;
extern const Clauses permissionClauses;
extern const Clauses invitationClauses;
extern const Clauses configurationClauses;
extern const Clauses changeClauses;

/// Clauses that apply to every operation.
Clauses operationClauses();
/// Clauses about calls that must be refused with one code and change nothing.
Clauses refusalClauses();

}  // namespace storage::kvxconformance
