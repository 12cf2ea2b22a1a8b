#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"
#include "sync/SyncPlan.h"
#include "sync/SyncReport.h"
#include "transfer/TransferReport.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

struct SyncOptions {
    std::string source;
    std::string target;
    SyncRules rules;
    bool dryRun = false;
    /// More deletions of files are refused; without a number, those of more than half of the
    /// target, when it has more than a few.
    std::optional<unsigned long> mostDeletions = {};
    bool anyDeletions = false;
    TransferOptions transfer;
};

/// Makes a folder like another one, one of them local and one in the store.
class Sync {
public:
    /// Throws Failure unless one of the names is local and the other one remote.
    Sync(const kvxclient::FileAccess& files, const Output& out, Diagnostics& diagnostics,
         const SyncOptions& options);

    /// Compares the folders as they are now and does, or in a dry run prints, what there is to do.
    /// Throws when one of them cannot be read; what else fails is reported and stops nothing.
    void run();

    bool isUp() const { return up_; }
    const std::filesystem::path& local() const { return local_; }
    const RemoteName& remote() const { return remote_; }

private:
    SyncPlan makePlan();
    static void keepUnnameable(SyncTree& target);
    void leaveOut(SyncTree& source);
    void reportConflicts(const SyncPlan& plan);
    void settleComparisons(SyncPlan& plan);
    void requireFewDeletions(const SyncPlan& plan) const;
    void perform(const SyncPlan& plan);
    void printPlan(const SyncPlan& plan);

    void removeLocal(const std::vector<SyncStep>& steps);
    void removeRemote(const std::vector<SyncStep>& steps);
    void createLocal(const std::vector<SyncStep>& steps);
    void createRemote(const std::vector<SyncStep>& steps);
    void finishFolder(std::future<kvxclient::FolderCreateResponse>& call,
                      const RemoteName& name) const;
    void upload(const std::vector<SyncStep>& steps);
    void download(const std::vector<SyncStep>& steps);

    /// Whether what is in the way, or the folder that should hold it, prevents a step.
    bool isBlocked(const SyncStep& step) const;
    TransferOptions transferOptions();

    std::filesystem::path localPath(const std::string& path) const;
    RemoteName remoteName(const std::string& path) const;
    /// The name on the side of the target, for messages.
    std::string targetText(const std::string& path) const;

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    const SyncOptions& options_;
    const bool up_;
    const std::filesystem::path local_;
    const RemoteName remote_;
    SyncReport report_;
    std::set<std::string> warned_;   // What has been reported in an earlier run.
    std::set<std::string> blocked_;  // What could not be created, or not be deleted.
};

}  // namespace storage::kvxtool
