#pragma once

#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "CallWindow.h"
#include "Diagnostics.h"
#include "LocalOutput.h"
#include "RemoteName.h"
#include "RemoteTree.h"
#include "TransferDone.h"
#include "storage/kvxclient/FileAccess.h"

namespace storage::kvxtool {

/// Gets files and trees from the store: first all are found, then all are fetched, many at a
/// time. A failure is reported and does not stop the rest.
class Download {
public:
    /// Calls `done` for each file that was fetched, when there is one.
    Download(const kvxclient::FileAccess& files, Diagnostics& diagnostics, TransferDone done = {})
        : files_(files), diagnostics_(diagnostics), done_(std::move(done)) {}

    void addFile(const RemoteName& source, const RemoteEntry& entry,
                 const std::filesystem::path& target);
    /// Adds a folder with all it has. Throws when it cannot be listed.
    void addTree(const RemoteName& source, const std::filesystem::path& target);

    /// Fetches what was added.
    void run();

    /// Writes a file to standard output, at once. Throws when it cannot.
    void print(const RemoteName& source);

private:
    struct Folder {
        std::filesystem::path target;
        bool top;
    };
    struct File {
        RemoteName source;
        std::filesystem::path target;
        std::chrono::system_clock::time_point modified;
        unsigned long size;
    };

    void createFolders();
    static void createFolder(const Folder& folder);
    void startFile(const File& file);
    void fetch(const File& file, std::future<kvxclient::FileDownloadCreateResponse>& call);

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    TransferDone done_;
    std::vector<Folder> folders_;
    std::vector<File> filesToFetch_;
    unsigned long bytesToFetch_ = 0;
    std::set<std::filesystem::path> missingFolders_;  // Those that could not be created.
    CallWindow<kvxclient::FileDownloadCreateResponse> locationCalls_;
    CallWindow<kvxclient::FileDownloadResponse> contentCalls_;
};

/// The name that an item has in its remote folder, as a local file name. Throws Failure for a name
/// that would lead out of the folder it is put in, or that no local file can have.
std::string localName(const RemoteName& item, const std::u16string& name);

}  // namespace storage::kvxtool
