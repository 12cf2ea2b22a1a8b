#include "sync/Sync.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "local/LocalFile.h"
#include "remote/RemoteTree.h"
#include "sync/SyncContent.h"
#include "sync/SyncTrees.h"
#include "transfer/Download.h"
#include "transfer/Upload.h"
#include "ui/Interruption.h"
#include "ui/Text.h"

namespace storage::kvxtool {

namespace fs = std::filesystem;
using Kind = SyncEntry::Kind;

namespace {

constexpr std::size_t COMPARISONS_AT_ONCE = 8;
constexpr std::size_t FEW_DELETIONS = 10;

/// Which of the names is the remote one.
bool isUpwards(const SyncOptions& options) {
    const bool up = RemoteName::isRemote(options.target);
    if (RemoteName::isRemote(options.source) == up) {
        throw Failure(ExitCode::USAGE, "",
                      up ? "both folders are remote: one of them must be local"
                         : "both folders are local: write :/path for one in the store");
    }
    return up;
}

const char* actionWord(Kind kind) {
    return kind == Kind::FILE        ? "a file"
           : kind == Kind::FOLDER    ? "a folder"
           : kind == Kind::LINK      ? "a symbolic link"
           : kind == Kind::TEMPORARY ? "a temporary file of a download"
           : kind == Kind::STORE     ? "the store itself"
                                     : "a special file";
}

std::size_t depthOf(const SyncStep& step) {
    return step.path.empty() ? 0 : 1 + std::count(step.path.begin(), step.path.end(), '/');
}

/// The steps by depth: those of one depth do not depend on each other.
std::map<std::size_t, std::vector<const SyncStep*>> byDepth(const std::vector<SyncStep>& steps,
                                                            Kind kind) {
    std::map<std::size_t, std::vector<const SyncStep*>> result;
    for (const SyncStep& step : steps) {
        if (step.entry.kind == kind) {
            result[depthOf(step)].push_back(&step);
        }
    }
    return result;
}

void throwUnlessZero(int result) {
    if (result != 0) {
        throw std::system_error(errno, std::generic_category());
    }
}

/// Another sync may make the same folder.
void makeLocalFolder(const fs::path& path) {
    struct stat status {};
    const bool made = mkdir(path.c_str(), 0777) == 0;
    if (!made &&
        (errno != EEXIST || lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))) {
        throw std::system_error(errno, std::generic_category());
    }
}

}  // namespace

Sync::Sync(const kvxclient::FileAccess& files, const Output& out, Diagnostics& diagnostics,
           const SyncOptions& options)
    : files_(files),
      diagnostics_(diagnostics),
      options_(options),
      up_(isUpwards(options)),
      local_(up_ ? options.source : options.target),
      remote_(
          RemoteName::parse(up_ ? options.target : options.source, RemoteName::Form::WITH_COLON)),
      report_(out, diagnostics, up_, options.dryRun) {}

fs::path Sync::localPath(const std::string& path) const {
    return path.empty() ? local_ : local_ / path;
}

RemoteName Sync::remoteName(const std::string& path) const {
    return path.empty() ? remote_ : remote_.child(toUtf16(path).value());
}

std::string Sync::targetText(const std::string& path) const {
    return up_ ? remoteName(path).text() : localPath(path).string();
}

void Sync::run() {
    report_.begin();
    blocked_.clear();
    SyncPlan plan = makePlan();
    requireFewDeletions(plan);
    reportConflicts(plan);
    settleComparisons(plan);
    try {
        options_.dryRun ? printPlan(plan) : perform(plan);
    } catch (...) {  // Interrupted, or without a session.
        report_.end(plan.unchanged);
        throw;
    }
    report_.end(plan.unchanged);
}

SyncPlan Sync::makePlan() {
    SyncTree local = readLocalTree(local_, options_.transfer.storeFiles, diagnostics_);
    SyncTree remote = readRemoteTree(files_, remote_, diagnostics_);
    SyncTree& source = up_ ? local : remote;
    if (source.empty()) {
        throw Failure(ExitCode::NOT_FOUND, options_.source, "no such folder");
    }
    if (!up_) {
        keepUnnameable(local);
    }
    leaveOut(source);
    return planSync(source, up_ ? remote : local, options_.rules);
}

/// Names that are not UTF-8 were never in the store, so that they were not deleted there either.
void Sync::keepUnnameable(SyncTree& target) {
    for (auto& [path, entry] : target) {
        entry.complete = entry.complete && toUtf16(path).has_value();
    }
}

void Sync::leaveOut(SyncTree& source) {
    for (auto item = source.begin(); item != source.end();) {
        const auto& [path, entry] = *item;
        const bool told = entry.kind != Kind::TEMPORARY || report_.isVerbose();
        if (entry.isLeftOut() && told && warned_.insert(path).second) {
            diagnostics_.leaveOut(localPath(path).string(), actionWord(entry.kind));
        }
        if (toUtf16(path)) {
            ++item;
            continue;
        }
        if (toUtf16(parentPath(path))) {  // Once for a folder and all its content.
            diagnostics_.fail(
                {ExitCode::REFUSED, localPath(path).string(), "the name is not valid UTF-8"});
        }
        item = source.erase(item);
    }
    diagnostics_.endLeavingOut();
}

void Sync::reportConflicts(const SyncPlan& plan) {
    for (const SyncConflict& conflict : plan.conflicts) {
        diagnostics_.fail({ExitCode::CONFLICT, targetText(conflict.path),
                           std::string("it is ") + actionWord(conflict.target) + ", and " +
                               actionWord(conflict.source) + " in the source" +
                               (options_.rules.deletes ? " cannot replace what is left out there"
                                                       : ": --delete replaces it")});
    }
}

void Sync::settleComparisons(SyncPlan& plan) {
    std::vector<ContentPair> pairs;
    for (const SyncStep& step : plan.comparisons) {
        pairs.push_back({localPath(step.path), remoteName(step.path), step.entry.size});
    }
    compareContents(files_, pairs, std::min(options_.transfer.jobs, COMPARISONS_AT_ONCE));
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (pairs[i].error) {
            diagnostics_.guard(targetText(plan.comparisons[i].path),
                               [&] { std::rethrow_exception(pairs[i].error); });
        } else if (pairs[i].same) {
            ++plan.unchanged;
        } else {
            plan.transfers.push_back(plan.comparisons[i]);
        }
    }
}

/// A source that is empty because its disk is not mounted deletes everything, versions and all.
void Sync::requireFewDeletions(const SyncPlan& plan) const {
    const std::size_t deleted = plan.deletedFiles();
    const std::size_t most =
        options_.mostDeletions.value_or(std::max(FEW_DELETIONS, plan.targetFiles / 2));
    if (deleted <= most || options_.anyDeletions) {
        return;
    }
    const Failure failure(ExitCode::REFUSED, targetText(""),
                          std::to_string(deleted) + " of " + std::to_string(plan.targetFiles) +
                              " files would be deleted: --max-delete N or --force allows it");
    if (!options_.dryRun) {
        throw failure;
    }
    diagnostics_.warn(failure.subject(), failure.what());
}

void Sync::perform(const SyncPlan& plan) {
    {
        const Interruption interruption;
        up_ ? removeRemote(plan.deletions) : removeLocal(plan.deletions);
        up_ ? createRemote(plan.folders) : createLocal(plan.folders);
        if (Interruption::isRequested()) {
            diagnostics_.warn("interrupted", "before files were transferred");
            Interruption::check();
        }
    }
    up_ ? upload(plan.transfers) : download(plan.transfers);
}

void Sync::printPlan(const SyncPlan& plan) {
    std::for_each(plan.deletions.begin(), plan.deletions.end(),
                  [this](const SyncStep& step) { report_.deleted(step); });
    std::for_each(plan.folders.begin(), plan.folders.end(),
                  [this](const SyncStep& step) { report_.created(step); });
    std::for_each(plan.transfers.begin(), plan.transfers.end(), [this](const SyncStep& step) {
        report_.transferred(step.path, step.entry.size);
    });
}

void Sync::removeLocal(const std::vector<SyncStep>& steps) {
    for (const SyncStep& step : steps) {
        if (Interruption::isRequested()) {
            return;
        }
        const fs::path path = localPath(step.path);
        const bool done = diagnostics_.guard(path.string(), [&] {
            throwUnlessZero(step.entry.kind == Kind::FOLDER ? rmdir(path.c_str())
                                                            : unlink(path.c_str()));
            report_.deleted(step);
        });
        if (!done) {  // It may be a link, which must not be written through.
            blocked_.insert(step.path);
        }
    }
}

void Sync::removeRemote(const std::vector<SyncStep>& steps) {
    const auto complete = [this](const SyncStep& step, auto& call) {
        diagnostics_.guard(remoteName(step.path).text(), [&] {
            call.get();
            report_.deleted(step);
        });
    };
    CallWindow<kvxclient::FileDeleteResponse> fileCalls;
    for (const SyncStep& step : steps) {
        if (step.entry.kind == Kind::FILE && !Interruption::isRequested()) {
            fileCalls.makeRoom();
            fileCalls.add(files_.deleteFileAsync({remoteName(step.path).resource()}),
                          [&](auto& call) { complete(step, call); });
        }
    }
    fileCalls.drain();
    CallWindow<kvxclient::FolderDeleteResponse> folderCalls;
    const auto folders = byDepth(steps, Kind::FOLDER);
    for (auto level = folders.rbegin(); level != folders.rend() && !Interruption::isRequested();
         ++level) {
        for (const SyncStep* step : level->second) {
            folderCalls.makeRoom();
            kvxclient::FolderDeleteRequest request(remoteName(step->path).resource());
            folderCalls.add(files_.deleteFolderAsync(std::move(request.withForceRecursive(false))),
                            [&complete, step](auto& call) { complete(*step, call); });
        }
        folderCalls.drain();
    }
}

void Sync::createLocal(const std::vector<SyncStep>& steps) {
    for (const SyncStep& step : steps) {
        if (Interruption::isRequested()) {
            return;
        }
        const fs::path path = localPath(step.path);
        if (isBlocked(step) || !diagnostics_.guard(path.string(), [&] {
                if (step.path.empty()) {
                    std::error_code error;
                    fs::create_directories(path, error);
                    if (error) {
                        throwCreationError(path, error.value());
                    }
                } else {
                    makeLocalFolder(path);
                }
                report_.created(step);
            })) {
            blocked_.insert(step.path);
        }
    }
}

/// Another sync may make the same folder.
void Sync::finishFolder(std::future<kvxclient::FolderCreateResponse>& call,
                        const RemoteName& name) const {
    if (refusedWith(kvxclient::KVXClientErrorCode::CONFLICT, [&] { call.get(); })) {
        requireFolder(files_, name);
    }
}

void Sync::createRemote(const std::vector<SyncStep>& steps) {
    const auto create = [this](const SyncStep& step, const auto& action) {
        if (diagnostics_.guard(remoteName(step.path).text(), action)) {
            report_.created(step);
        } else {
            blocked_.insert(step.path);
        }
    };
    CallWindow<kvxclient::FolderCreateResponse> calls;
    for (const auto& [depth, level] : byDepth(steps, Kind::FOLDER)) {
        for (const SyncStep* step : level) {
            if (Interruption::isRequested()) {
                break;
            }
            if (step->path.empty()) {
                create(*step, [this] { createFolders(files_, remote_); });
            } else if (isBlocked(*step)) {
                blocked_.insert(step->path);
            } else {
                calls.makeRoom();
                calls.add(files_.createFolderAsync({remoteName(step->path).resource()}),
                          [this, &create, step](auto& call) {
                              create(*step, [&] { finishFolder(call, remoteName(step->path)); });
                          });
            }
        }
        calls.drain();
    }
}

bool Sync::isBlocked(const SyncStep& step) const {
    return blocked_.contains(step.path) ||
           (!step.path.empty() && blocked_.contains(parentPath(step.path)));
}

void Sync::upload(const std::vector<SyncStep>& steps) {
    Upload upload(files_, diagnostics_, transferOptions());
    for (const SyncStep& step : steps) {
        if (!isBlocked(step)) {
            upload.addFile(localPath(step.path), remoteName(step.path));
        }
    }
    upload.run();
}

void Sync::download(const std::vector<SyncStep>& steps) {
    Download download(files_, diagnostics_, transferOptions());
    for (const SyncStep& step : steps) {
        if (!isBlocked(step)) {
            RemoteEntry entry;
            entry.size = step.entry.size;
            entry.modified = step.entry.modified;
            download.addFile(remoteName(step.path), entry, localPath(step.path));
        }
    }
    download.run();
}

TransferOptions Sync::transferOptions() {
    TransferOptions options = options_.transfer;
    options.hasSummary = true;
    const std::size_t prefix = localPath("x").native().size() - 1;
    options.done = [this, prefix](const std::string& source, const std::string& target,
                                  unsigned long bytes) {
        report_.transferred((up_ ? source : target).substr(prefix), bytes);
    };
    return options;
}

}  // namespace storage::kvxtool
