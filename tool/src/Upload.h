#pragma once

#include <chrono>
#include <filesystem>
#include <set>
#include <vector>

#include "CallWindow.h"
#include "Diagnostics.h"
#include "LocalInput.h"
#include "RemoteName.h"
#include "TransferDone.h"
#include "storage/kvxclient/FileAccess.h"

namespace storage::kvxtool {

/// Puts local files and trees into the store: first all are found, then all are sent, many at a
/// time. A failure is reported and does not stop the rest.
class Upload {
public:
    /// Calls `done` for each file that was sent, when there is one.
    Upload(const kvxclient::FileAccess& files, Diagnostics& diagnostics, TransferDone done = {})
        : files_(files), diagnostics_(diagnostics), done_(std::move(done)) {}

    void addFile(const std::filesystem::path& source, const RemoteName& target);
    /// Adds a folder with all it has. Links and special files in it are left out with a warning.
    void addTree(const std::filesystem::path& source, const RemoteName& target);

    /// Sends what was added.
    void run();

    /// Sends what an open file has, at once. Throws when it cannot.
    void send(LocalInput& source, const RemoteName& target);

private:
    struct File {
        std::filesystem::path source;
        RemoteName target;
    };
    struct Folder {
        std::filesystem::path source;
        RemoteName target;
        std::size_t depth;
    };
    using Time = std::chrono::system_clock::time_point;

    void addEntry(const std::filesystem::directory_entry& entry, const Folder& parent,
                  std::vector<Folder>& folders);
    void createFolders();
    void folderCreated(const Folder& folder, std::future<kvxclient::FolderCreateResponse>& call);
    void startFile(const File& file);
    void fileCreated(const File& file, std::optional<Time> modified, std::size_t size,
                     std::future<kvxclient::FileWriteResponse>& call);
    bool isBelowMissingFolder(const RemoteName& name) const {
        return missingFolders_.count(name.parent().path()) != 0;
    }

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    TransferDone done_;
    std::vector<Folder> folders_;
    std::vector<File> filesToSend_;
    unsigned long bytesToSend_ = 0;
    std::set<std::u16string> missingFolders_;  // Those that could not be created.
    CallWindow<kvxclient::FolderCreateResponse> folderCalls_;
    CallWindow<kvxclient::FileWriteResponse> fileCalls_;
    CallWindow<kvxclient::SetMetadataResponse> timeCalls_;
};

}  // namespace storage::kvxtool
