#pragma once

#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "local/LocalOutput.h"
#include "remote/RemoteName.h"
#include "remote/RemoteTree.h"
#include "storage/kvxclient/FileAccess.h"
#include "transfer/CallWindow.h"
#include "transfer/TransferReport.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

/// Gets files and trees from the store: first all are found, then all are fetched. Small files come
/// in one call each, many at a time; larger ones in ranges. A failure is reported and does not stop
/// the rest.
class Download {
public:
    Download(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
             const TransferOptions& options = {});

    /// Adds a file, or one of its versions where `versionId` is not empty.
    void addFile(const RemoteName& source, const RemoteEntry& entry,
                 const std::filesystem::path& target, const std::string& versionId = {});
    /// Adds a folder with all it has. Throws when it cannot be listed.
    void addTree(const RemoteName& source, const std::filesystem::path& target);

    /// Fetches what was added. When a signal asks for it, says what was fetched and throws
    /// Interrupted.
    void run();

    /// Writes a file, or one of its versions, to standard output, at once. Throws when it cannot.
    void print(const RemoteName& source, const RemoteEntry& entry,
               const std::string& versionId = {});

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
        std::string versionId;
    };

    void createFolders();
    static void createFolder(const Folder& folder);
    void startFile(const File& file);
    void startWhole(const File& file);
    unsigned long writeRanges(const RemoteName& source, const std::string& versionId,
                              LocalOutput& output) const;
    void commit(const File& file, LocalOutput& output, unsigned long size);

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    TransferReport report_;
    std::size_t rangesAtOnce_;
    std::vector<Folder> folders_;
    std::vector<File> filesToFetch_;
    std::set<std::filesystem::path> missingFolders_;  // Those that could not be created.
    std::set<std::filesystem::path> cleanedFolders_;  // Those without leftovers.
    CallWindow<kvxclient::FileReadResponse> calls_;
};

/// Throws Failure where a symbolic link is in the way of a download: it could lead anywhere.
void refuseLink(const std::filesystem::path& target);

/// The name that an item has in its remote folder, as a local file name. Throws Failure for a name
/// that would lead out of the folder it is put in, or that no local file can have.
std::string localName(const RemoteName& item, const std::u16string& name);

}  // namespace storage::kvxtool
