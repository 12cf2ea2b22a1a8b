#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/Context.h"
#include "storage/kvxstore/Administration.h"

namespace storage::kvxstore {

/// A damage as administration sees it, and the file it is in.
struct FoundDamage : Damage {
    std::int64_t node = 0;
    /// Whether letting go of it, or counting anew, mends it without a loss.
    bool mendable = false;
};

/// Takes note of damage, and gives it names for people.
class Damages {
public:
    using Tell = std::function<void(const FoundDamage&)>;

    Damages(const Context& context, Tell tell) : context_(context), tell_(std::move(tell)) {}

    /// Damage of something that is neither a file nor a folder.
    void add(const std::string& sentence);
    /// The same for what letting go of it, or counting anew, mends.
    void addMendable(const std::string& sentence);

    /// Damage of a file or folder, perhaps of one that is in no folder.
    void addNode(std::int64_t node, const std::string& damage);

    /// A version of which no more than `readable` bytes can be read.
    void addVersion(std::int64_t node, int label, bool current, std::int64_t size,
                    std::int64_t readable);

    /// Runs a check, and takes note of what keeps it from its end. Returns whether it came there.
    bool guard(const std::function<void()>& check);

private:
    FoundDamage describe(std::int64_t node) const;
    std::string withoutPath(std::int64_t node) const;

    const Context& context_;
    Tell tell_;
};

}  // namespace storage::kvxstore
