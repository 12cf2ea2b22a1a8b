#include "storage/kvxconformance/Conformance.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <stdexcept>

#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

bool covers(const Waiver& waiver, const std::string& id) {
    return waiver.clause.ends_with('*')
               ? id.starts_with(waiver.clause.substr(0, waiver.clause.size() - 1))
               : id == waiver.clause;
}

std::set<Capability> needsOf(const Clause& clause) {
    static const std::map<std::string, Capability> bySubject{
        {"downloads", Capability::DOWNLOADS},         {"handles", Capability::HANDLES},
        {"versions", Capability::VERSIONS},           {"permissions", Capability::SHARING},
        {"invitations", Capability::SHARING},         {"sharing", Capability::SHARING},
        {"configuration", Capability::CONFIGURATION}, {"changes", Capability::CHANGES}};
    std::set<Capability> needs = clause.alsoNeeds;
    const auto own = bySubject.find(clause.id.substr(0, clause.id.find('.')));
    if (own != bySubject.end()) {
        needs.insert(own->second);
    }
    return needs;
}

class ClauseTest : public testing::Test {
public:
    ClauseTest(const Transport& transport, const Clause& clause)
        : transport_(transport), clause_(clause) {}

private:
    void TestBody() override {
        for (const Waiver& waiver : transport_.waivers) {
            if (covers(waiver, clause_.id)) {
                GTEST_SKIP() << "waived: " << waiver.reason;
            }
        }
        for (const Capability capability : needsOf(clause_)) {
            if (!transport_.capabilities.contains(capability)) {
                GTEST_SKIP() << "the transport lacks a capability that this needs";
            }
        }
        Scene scene(transport_, clause_.id);
        clause_.check(scene);
        EXPECT_EQ(scene.ledger.violations(), 0U) << "calls did not complete exactly once";
    }

    const Transport& transport_;
    const Clause& clause_;
};

/// Prints the waivers at the end of the report.
class WaiverReport : public testing::Environment {
public:
    explicit WaiverReport(const Transport& transport) : transport_(transport) {}

    void TearDown() override {
        for (const Waiver& waiver : transport_.waivers) {
            std::cout << "[  WAIVED  ] " << waiver.clause << ": " << waiver.reason << std::endl;
        }
    }

private:
    const Transport& transport_;
};

Clauses allClauses() {
    Clauses all;
    for (const Clauses& some :
         {sessionClauses, callClauses, concurrencyClauses, fileClauses, folderClauses,
          relocationClauses, handleClauses, versionClauses, permissionClauses, invitationClauses,
          configurationClauses, changeClauses, refusalClauses(), operationClauses()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    // GoogleTest wants the tests of a suite together; clauses of one subject keep their order.
    std::stable_sort(all.begin(), all.end(), [](const Clause& a, const Clause& b) {
        return a.id.substr(0, a.id.find('.')) < b.id.substr(0, b.id.find('.'));
    });
    return all;
}

}  // namespace

void registerConformanceTests(Transport transportUnderTest) {
    if (transportUnderTest.users.size() < 2 || !transportUnderTest.logIn) {
        throw std::invalid_argument("a transport under test needs two users and a way to log in");
    }
    const auto transport = std::make_shared<const Transport>(std::move(transportUnderTest));
    const auto clauses = std::make_shared<const Clauses>(allClauses());
    for (const Waiver& waiver : transport->waivers) {
        if (std::none_of(clauses->begin(), clauses->end(),
                         [&](const Clause& clause) { return covers(waiver, clause.id); })) {
            throw std::invalid_argument("no clause to waive: " + waiver.clause);
        }
    }
    for (const Clause& clause : *clauses) {
        const std::size_t dot = clause.id.find('.');
        testing::RegisterTest(clause.id.substr(0, dot).c_str(), clause.id.substr(dot + 1).c_str(),
                              nullptr, nullptr, __FILE__, __LINE__,
                              [transport, clauses, &clause]() -> testing::Test* {
                                  return new ClauseTest(*transport, clause);
                              });
    }
    testing::AddGlobalTestEnvironment(new WaiverReport(*transport));
}

}  // namespace storage::kvxconformance
