#pragma once

/// @file
/// A test suite that holds a transport to the contract of the client interface.
///
/// Each requirement is a clause with a stable id, such as "files.create.replacesContent", which is
/// the full name of its GoogleTest test. Define transport() and link the kit, which brings a
/// main(); or call registerConformanceTests() from a main of your own.

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "storage/kvxclient/KVXClient.h"

namespace storage::kvxconformance {

/// An optional part of the interface. Without it, the clauses about it are skipped.
enum class Capability {
    DOWNLOADS,      ///< createFileDownload and downloadFile.
    HANDLES,        ///< Open files, ranges, commit and abort.
    VERSIONS,       ///< Versions of files, and IVersioning.
    SHARING,        ///< AccessControl, and what other users then see.
    CONFIGURATION,  ///< ConfigurationManagement.
    CHANGES,        ///< Notification.
    CANCELLATION    ///< cancelPendingCalls ends calls that are outstanding.
};

/// A user of the service, for the suite to log in as.
struct User {
    /// The name by which others invite the user or grant rights.
    std::u16string name;
    /// A bucket that the user owns and no other user of the suite may see. The suite creates
    /// folders at its root and touches nothing else.
    std::u16string bucket;
    /// The token for login. If it is empty, the clauses about login itself are skipped.
    std::string token = {};
};

/// A clause that the transport need not meet, and why. Printed at the end of every run.
struct Waiver {
    /// The id of a clause, or a prefix of ids followed by "*".
    std::string clause;
    /// Why the transport differs.
    std::string reason;
};

/// A transport under test: how to reach it, what it can do and where it differs.
struct Transport {
    /// The users, at least two: the first owns what is tested, the second is granted rights to it,
    /// the third never is. Without a third, the clauses about that user are skipped.
    std::vector<User> users;

    /// Makes a client that is logged in as the user, with its own session. Called on the thread
    /// that runs the tests; an exception fails the clause.
    std::function<std::unique_ptr<kvxclient::KVXClient>(const User&)> logIn;

    /// What the transport can do. Default: everything.
    std::set<Capability> capabilities = {Capability::DOWNLOADS,     Capability::HANDLES,
                                         Capability::VERSIONS,      Capability::SHARING,
                                         Capability::CONFIGURATION, Capability::CHANGES,
                                         Capability::CANCELLATION};

    /// Where the transport differs. Default: nowhere.
    std::vector<Waiver> waivers = {};

    /// Paths that break the service's rules for names. Default: texts that are no path or could be
    /// taken for another path.
    std::vector<std::u16string> illegalPaths = {
        u"",           u"relative", u"//",    u"/a//b",
        u"/trailing/", u"/./a",     u"/a/..", std::u16string(u"/\0", 2),
        u"/\xD800",    u"/\xDC00z"};

    /// Names that the service accepts and must return unit by unit. Default: blanks, characters
    /// with a meaning in URLs, other scripts, and both spellings of one accented letter.
    std::vector<std::u16string> oddNames = {u"a b",
                                            u" ",
                                            u"100%",
                                            u"%2F",
                                            u"a+b&c=d;e?f#g",
                                            u"back\\slash",
                                            u"'quoted' \"twice\"",
                                            u"<tag>",
                                            u"...",
                                            u"caf\u00e9",
                                            u"cafe\u0301",
                                            u"\u65e5\u672c\u8a9e",
                                            u"\U0001F600",
                                            std::u16string(255, u'n')};

    /// A name that listings omit unless hidden items are asked for; empty if the service hides
    /// nothing. Default: ".hidden".
    std::u16string hiddenName = u".hidden";

    /// How long a call may take before it counts as never completed. Default: 30 s.
    std::chrono::milliseconds patience = std::chrono::seconds(30);
};

/// The transport that the kit's own main() tests. A program that links the kit and has no main()
/// defines it. Called once, before the first test.
Transport transport();

/// Registers a GoogleTest test for each clause; RUN_ALL_TESTS() runs them. Keeps the transport
/// until the program ends.
///
/// @throws std::invalid_argument when the transport has fewer than two users or no logIn, or a
///     waiver matches no clause.
void registerConformanceTests(Transport transport);

}  // namespace storage::kvxconformance
