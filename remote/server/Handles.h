#pragma once

/// @file
/// The file handles that sessions have open, and the order of the calls on them.

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Sessions.h"

namespace storage::kvxserver {

/// Counts the handles of each session and passes calls on in the order of their numbers.
class Handles {
public:
    using Clock = std::chrono::steady_clock;
    /// A session and the id of a handle.
    using Key = std::pair<std::string, std::string>;
    /// Told whether the call may go on.
    using Pass = std::function<void(bool)>;
    /// Calls take their turns twice: when they take room for their content, since later ones must
    /// not keep it from earlier ones, and when they are made.
    enum Stage { ROOM, CALL };

    /// A handle that nobody used for long.
    struct Unused {
        Key key;
        kvxclient::Resource resource;
        std::shared_ptr<const SessionClient> client;
    };

    explicit Handles(std::size_t mostOfSession,
                     std::chrono::milliseconds patience = std::chrono::seconds(30))
        : mostOfSession_(mostOfSession), patience_(patience) {}

    /// Makes room for one more handle; false when the session has as many as it may.
    bool reserve(const std::string& session);
    /// Gives the room back when the handle was not opened.
    void release(const std::string& session);
    void opened(const Key& key, kvxclient::Resource resource,
                std::shared_ptr<const SessionClient> client);
    void closed(const Key& key);
    void endSession(const std::string& session);

    /// A call with this number is here, until it has left: those after it wait for it however long
    /// it takes.
    void arrived(const Key& key, std::uint64_t number);
    void left(const Key& key, std::uint64_t number);
    /// A call uses the handle.
    void use(const Key& key);
    /// Calls `pass` when it is the turn of this number: 1 comes first. What was sent before passes
    /// at once, as does every call on a handle that was not opened here.
    void await(const Key& key, Stage stage, std::uint64_t number, Pass pass);
    /// The call of this number has used its turn: the next one may pass.
    void done(const Key& key, Stage stage, std::uint64_t number);
    /// Whether this number has had its turn before, so that later ones may hold what it needs.
    bool isPast(const Key& key, Stage stage, std::uint64_t number) const;
    /// Lets those fail that have waited too long for a number that has not arrived.
    void giveUpWaiting();
    /// Takes out the handles that were not used for so long.
    std::vector<Unused> takeUnused(std::chrono::milliseconds idle);
    std::size_t count() const;
    /// How many takeUnused() took out so far.
    std::uint64_t aborted() const;

private:
    struct Turns {
        std::uint64_t next = 1;
        Clock::time_point waitingSince;
        std::multimap<std::uint64_t, Pass> waiting;
    };
    struct Handle {
        kvxclient::Resource resource{u"", u""};
        std::shared_ptr<const SessionClient> client;
        Clock::time_point used;
        /// A number never came: all later ones fail.
        bool broken = false;
        /// The numbers of the calls that are here.
        std::multiset<std::uint64_t> present;
        std::array<Turns, 2> stages;
    };

    const std::size_t mostOfSession_;
    const std::chrono::milliseconds patience_;
    mutable std::mutex mutex_;
    std::map<Key, Handle> handles_;
    std::map<std::string, std::size_t> ofSession_;
    std::uint64_t aborted_ = 0;
};

}  // namespace storage::kvxserver
