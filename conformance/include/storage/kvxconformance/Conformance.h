#pragma once

/// @file
/// A test suite that holds a transport to the contract of the client interface.
///
/// Each requirement is a clause with a stable id, as "files.create.replacesContent", which is the
/// full name of its GoogleTest test. Define transport() and link the kit, which brings a main(); or
/// call registerConformanceTests() from a main of your own.

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "storage/kvxclient/KVXClient.h"

namespace storage::kvxconformance {

/// A part of the interface that a transport may do without. The clauses about it are skipped.
enum class Capability {
    DOWNLOADS,      ///< createFileDownload and downloadFile.
    HANDLES,        ///< Open files, ranges, commit and abort.
    VERSIONS,       ///< Versions of files, and IVersioning.
    SHARING,        ///< AccessControl, and what others then see.
    CONFIGURATION,  ///< ConfigurationManagement.
    CHANGES,        ///< Notification.
    CANCELLATION    ///< cancelPendingCalls ends calls that are outstanding.
};

/// A user whom the suite may log in.
struct User {
    /// The name by which others invite him or give him rights.
    std::u16string name;
    /// A bucket that he owns and no other user of the suite may see. The suite makes folders of
    /// its own at its root and touches nothing else.
    std::u16string bucket;
    /// What login takes. Empty skips the clauses about login itself.
    std::string token = {};
};

/// A clause that is not held against the transport, and why. Printed at the end of every run.
struct Waiver {
    /// The id of a clause, or the beginning of ids followed by "*".
    std::string clause;
    /// Why the transport differs.
    std::string reason;
};

/// A transport under test: how to reach it, what it can do and where it differs.
struct Transport {
    /// The users: the first owns what is tested, the second is given rights to it, the third (who
    /// may be missing, which skips the clauses about him) never is. At least two.
    std::vector<User> users;

    /// Makes a client that is logged in as the user, with a session of its own. Called on the
    /// thread that runs the tests; what it throws fails the clause.
    std::function<std::unique_ptr<kvxclient::KVXClient>(const User&)> logIn;

    /// What the transport can do. Default: everything.
    std::set<Capability> capabilities = {Capability::DOWNLOADS,     Capability::HANDLES,
                                         Capability::VERSIONS,      Capability::SHARING,
                                         Capability::CONFIGURATION, Capability::CHANGES,
                                         Capability::CANCELLATION};

    /// Where the transport differs. Default: nowhere.
    std::vector<Waiver> waivers = {};

    /// Paths that break the service's rules for names, which are its own to make. Default: what
    /// looks like no path or could be taken for another.
    std::vector<std::u16string> illegalPaths = {
        u"",           u"relative", u"//",    u"/a//b",
        u"/trailing/", u"/./a",     u"/a/..", std::u16string(u"/\0", 2),
        u"/\xD800",    u"/\xDC00z"};

    /// Names that the service takes and must give back unit by unit. Default: blanks, signs that
    /// addresses and queries give a meaning to, scripts, and both spellings of one accented letter.
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

    /// A name that listings leave out unless hidden items are asked for. Default: ".hidden".
    /// Empty: the service hides nothing.
    std::u16string hiddenName = u".hidden";

    /// How long a call may take before it counts as never completed. Default: 30 s.
    std::chrono::milliseconds patience = std::chrono::seconds(30);
};

/// The transport that the kit's own main() tests. Defined by the program that links the kit without
/// a main of its own; called once, before the first test.
Transport transport();

/// Registers a test for each clause with GoogleTest, to be run by RUN_ALL_TESTS(). The transport
/// is kept until the program ends.
///
/// @throws std::invalid_argument when the transport has fewer than two users or no logIn, or a
///     waiver fits no clause.
void registerConformanceTests(Transport transport);

}  // namespace storage::kvxconformance
