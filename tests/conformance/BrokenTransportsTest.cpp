#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

struct Report {
    int status;
    std::string output;
};

/// Runs clauses in a process of their own, against a store that misbehaves.
Report runClauses(const std::string& clauses, const std::string& misbehaviour) {
    const std::string command = "CONFORMANCE_MISBEHAVIOUR=\"" + misbehaviour +
                                "\" '" CONFORMANCE_PROGRAM "' '--gtest_filter=" + clauses +
                                "' 2>&1";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> part;
    while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe)) {
        output.append(part.data(), size);
    }
    return {::pclose(pipe), output};
}

TEST(BrokenTransports, AreCaughtByTheClauseMeantForThem) {
    struct {
        std::string misbehaviour, clause;
    } const cases[] = {
        {"completes twice", "calls.completesOnce.createFolder"},
        {"completes twice", "calls.completesOnce.restoreVersion"},
        {"drops handlers", "calls.completesOnce.readFile"},
        {"never completes", "calls.completesOnce.listFolder"},
        {"completes again when a handler throws", "calls.handler.mayThrow"},
        {"does not cancel", "calls.cancel.endsWhatIsOutstanding"},
        {"does not wait", "calls.wait.returnsAfterAll"},
        {"answers with nothing", "files.create.describesTheFile"},
        {"reports a wrong code", "files.read.missing"},
        {"reports success", "folders.delete.full"},
        {"keeps the first session", "session.id.isReadAtEachCall"},
        {"truncates large files", "files.create.storesAnySize"},
        {"swaps the content of files", "files.create.replacesContent"},
        {"forgets the bucket", "files.bucket.isHeeded"},
        {"loses the content type", "files.create.keepsContentType"},
        {"loses times", "files.metadata.keepsTheTime"},
        {"lists what was there before", "folders.list.isUpToDate"},
        {"lists what is hidden", "folders.list.hidesWhatIsHidden"},
        {"deletes without force", "folders.delete.full"},
        {"overwrites unasked", "move.targetExists"},
        {"moves by copying", "move.file.leavesNothingBehind"},
        {"copies by moving", "copy.file.leavesTheSource"},
        {"ignores ranges", "handles.read.ranges"},
        {"writes at the start", "handles.write.ranges"},
        {"completes before it has read the bytes", "handles.write.bytesMayChangeOnCompletion"},
        {"opens in any mode", "handles.open.createOverAFile"},
        {"commits what is aborted", "handles.abort.discards"},
        {"ignores createNewVersion", "versions.write.keepsTheOldOnlyWhenAsked"},
        {"reads the current version only", "versions.read.byLabelAndId"},
        {"restores another version", "versions.restore.asANewVersion"},
        {"shows another user's files", "files.ofAnother.readFile"},
        {"grants more than asked", "sharing.reader.createFile"},
        {"accepts what is declined", "invitations.personal.givesNothingWhenDeclined"},
        {"lists every invitation", "invitations.list.filters"},
        {"forgets policies", "configuration.policy.isInherited"},
        {"ignores the watermark", "changes.watermark.leavesOutWhatWasTold"},
        {"does not tell deletions", "changes.list.tellsDeletions"},
    };
    std::string clauses;
    for (const auto& [misbehaviour, clause] : cases) {
        clauses += clause + ':';
        const Report broken = runClauses(clause, misbehaviour);
        EXPECT_NE(broken.status, 0) << "not caught: " << misbehaviour;
        EXPECT_NE(broken.output.find("[  FAILED  ] " + clause), std::string::npos)
            << misbehaviour << '\n'
            << broken.output;
    }
    // They are not caught for what the sound transport does as well.
    const Report sound = runClauses(clauses, "");
    EXPECT_EQ(sound.status, 0) << sound.output;
    for (const auto& [misbehaviour, clause] : cases) {
        EXPECT_NE(sound.output.find("[       OK ] " + clause), std::string::npos) << clause;
    }
}

TEST(BrokenTransports, PassWhatTheyServeAndAreExcusedTheRest) {
    const Report report = runClauses("*", "serves whole files only");
    EXPECT_EQ(report.status, 0) << report.output;
    for (const char* line :
         {"[       OK ] files.create.storesAnySize", "[  SKIPPED ] handles.read.ranges",
          "[  SKIPPED ] calls.completesOnce.grantPermission",
          "[  SKIPPED ] paths.illegal.createFile",
          "[  WAIVED  ] paths.illegal.*: any path will do"}) {
        EXPECT_NE(report.output.find(line), std::string::npos) << line;
    }
}

}  // namespace
