#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "local/LocalInput.h"
#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"
#include "transfer/CallWindow.h"
#include "transfer/TransferReport.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

/// Puts local files and trees into the store: first all are found, then all are sent. Small files
/// go in one call each, many at a time; larger ones, and what has no size, in ranges. A failure is
/// reported and does not stop the rest.
class Upload {
public:
    Upload(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
           const TransferOptions& options = {});

    void addFile(const std::filesystem::path& source, const RemoteName& target);
    /// Adds a folder with all it has. Links and special files in it are left out with a warning.
    void addTree(const std::filesystem::path& source, const RemoteName& target);

    /// Sends what was added. When a signal asks for it, says what was sent and throws Interrupted.
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
    /// A file that is being sent.
    struct Sending {
        std::string source;
        RemoteName target;
        std::optional<std::chrono::system_clock::time_point> modified;
        unsigned long size;
    };

    void addEntry(const std::filesystem::directory_entry& entry, const Folder& parent,
                  std::vector<Folder>& folders);
    /// Calls `action`, and reports how far it came when it is interrupted.
    template <class Action>
    void interruptibly(Action&& action);
    void createFolders();
    void folderCreated(const Folder& folder, std::future<kvxclient::FolderCreateResponse>& call);
    void start(LocalInput& source, const RemoteName& target);
    /// Called where a source has ended.
    void checkEnd(const LocalInput& source);
    void sendWhole(const Sending& file);
    unsigned long sendRanges(LocalInput& source, const RemoteName& target, std::size_t filled);
    void contentSent(const Sending& file);
    void done(const Sending& file);
    void drain();
    bool isBelowMissingFolder(const RemoteName& name) const {
        return missingFolders_.count(name.parent().path()) != 0;
    }

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    TransferReport report_;
    const std::vector<std::filesystem::path> storeFiles_;
    std::vector<Folder> folders_;
    std::vector<File> filesToSend_;
    std::set<std::u16string> missingFolders_;  // Those that could not be created.
    /// One for each range on its way; the first one also reads what is sent whole.
    std::vector<std::unique_ptr<char[]>> buffers_;
    CallWindow<kvxclient::FolderCreateResponse> folderCalls_;
    CallWindow<kvxclient::FileWriteResponse> fileCalls_;
    CallWindow<kvxclient::SetMetadataResponse> timeCalls_;
};

}  // namespace storage::kvxtool
