#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Participant.h"

namespace storage::kvxconformance {

/// What one clause works with: users who are logged in, and a new folder in the first one's bucket.
class Scene {
public:
    Scene(const Transport& transport, const std::string& clause);
    /// Removes the folder, as far as the transport lets it: no later clause depends on it.
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// The second and the third user; logged in when first asked for.
    const Participant& guest() { return participant(guest_, 1); }
    const Participant& stranger() { return participant(stranger_, 2); }
    /// One more client of the first user, with a session of its own.
    Participant another() { return {transport, transport.users[0], ledger}; }

    bool has(Capability capability) const { return transport.capabilities.contains(capability); }
    Resource at(const std::u16string& name) const { return folder / name; }

    const Transport& transport;
    Ledger ledger;
    const Participant owner;
    const Resource folder;
    /// Places in it for files and a folder; nothing is there at first.
    const Resource f = at(u"f"), g = at(u"g"), d = at(u"d");

private:
    const Participant& participant(std::optional<Participant>& slot, std::size_t user);

    std::optional<Participant> guest_;
    std::optional<Participant> stranger_;
};

}  // namespace storage::kvxconformance
