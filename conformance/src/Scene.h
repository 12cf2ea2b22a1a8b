#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Participant.h"

namespace storage::kvxconformance {

/// The fixture of one clause: users who are logged in, and a new folder in the first user's bucket.
class Scene {
public:
    Scene(const Transport& transport, const std::string& clause);
    /// Removes the folder if the transport can; no later clause depends on it.
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// The second and the third user, logged in on first use.
    const Participant& guest() { return participant(guest_, 1); }
    const Participant& stranger() { return participant(stranger_, 2); }
    /// One more client of the first user, with its own session.
    Participant another() { return {transport, transport.users[0], ledger}; }

    bool has(Capability capability) const { return transport.capabilities.contains(capability); }
    Resource at(const std::u16string& name) const { return folder / name; }

    const Transport& transport;
    Ledger ledger;
    const Participant owner;
    const Resource folder;
    /// Paths in it for files and a folder; nothing exists there at first.
    const Resource f = at(u"f"), g = at(u"g"), d = at(u"d");

private:
    const Participant& participant(std::optional<Participant>& slot, std::size_t user);

    std::optional<Participant> guest_;
    std::optional<Participant> stranger_;
};

}  // namespace storage::kvxconformance
