#include "Scene.h"

#include <random>

namespace storage::kvxconformance {

namespace {

/// A name that no earlier run can have left behind.
std::u16string newName(const std::string& clause) {
    std::random_device random;
    const std::string name =
        "conformance " + clause + ' ' + std::to_string(random()) + '-' + std::to_string(random());
    return {name.begin(), name.end()};
}

}  // namespace

Scene::Scene(const Transport& transportUnderTest, const std::string& clause)
    : transport(transportUnderTest),
      ledger(transport.patience),
      owner(transport, transport.users[0], ledger),
      folder(owner.root() / newName(clause)) {
    owner.makeFolder(folder);
}

Scene::~Scene() {
    try {
        owner.removeFolder(folder, true);
    } catch (const std::exception&) {
        // The name is unique: what is left behind harms no later run.
    }
}

const Participant& Scene::participant(std::optional<Participant>& slot, std::size_t user) {
    if (!slot) {
        slot.emplace(transport, transport.users.at(user), ledger);
    }
    return *slot;
}

}  // namespace storage::kvxconformance
