#include "sync/SyncTrees.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "local/LocalFile.h"
#include "local/LocalOutput.h"
#include "remote/RemoteTree.h"
#include "transfer/Download.h"
#include "ui/Failure.h"
#include "ui/Text.h"

namespace storage::kvxtool {

namespace fs = std::filesystem;

namespace {

using Kind = SyncEntry::Kind;

std::string childPath(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + '/' + name;
}

Kind kindOf(mode_t mode) {
    return S_ISREG(mode)   ? Kind::FILE
           : S_ISDIR(mode) ? Kind::FOLDER
           : S_ISLNK(mode) ? Kind::LINK
                           : Kind::SPECIAL;
}

/// Empty when it has gone meanwhile.
std::optional<SyncEntry> readLocalEntry(const fs::path& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        throw std::system_error(errno, std::generic_category());
    }
    SyncEntry entry;
    entry.kind = kindOf(status.st_mode);
    entry.size = entry.kind == Kind::FILE ? static_cast<unsigned long>(status.st_size) : 0;
    entry.modified = timeOf(status.st_mtim);
    entry.complete = entry.kind != Kind::FOLDER;  // Until it is listed.
    return entry;
}

/// Adds what a folder has, and returns the paths of its folders.
std::vector<std::string> readLocalFolder(SyncTree& tree, const fs::path& top,
                                         const std::string& folder,
                                         const std::vector<fs::path>& storeFiles) {
    std::vector<std::string> folders;
    for (const fs::directory_entry& item : fs::directory_iterator(top / folder)) {
        const std::string name = item.path().filename().string();
        const std::string path = childPath(folder, name);
        if (std::optional<SyncEntry> entry = readLocalEntry(item.path())) {
            if (entry->kind == Kind::FILE && LocalOutput::isTemporaryName(name)) {
                entry->kind = Kind::TEMPORARY;
            } else if (belongsToStore(item.path(), storeFiles)) {
                entry->kind = Kind::STORE;
            }
            tree.emplace(path, *entry);
            if (entry->kind == Kind::FOLDER) {
                folders.push_back(path);
            }
        }
    }
    return folders;
}

SyncEntry makeFolderEntry(bool complete) {
    SyncEntry entry;
    entry.kind = Kind::FOLDER;
    entry.complete = complete;
    return entry;
}

}  // namespace

SyncTree readLocalTree(const fs::path& top, const std::vector<fs::path>& storeFiles,
                       Diagnostics& diagnostics) {
    SyncTree tree;
    const fs::file_status status = fs::status(top);
    if (!fs::exists(status)) {
        return tree;
    }
    if (!fs::is_directory(status)) {
        throw Failure(ExitCode::CONFLICT, top.string(), "it is a file, not a folder");
    }
    tree.emplace("", makeFolderEntry(true));
    std::vector<std::string> pending = readLocalFolder(tree, top, "", storeFiles);
    while (!pending.empty()) {
        const std::string folder = std::move(pending.back());
        pending.pop_back();
        tree.at(folder).complete = diagnostics.guard((top / folder).string(), [&] {
            for (std::string& path : readLocalFolder(tree, top, folder, storeFiles)) {
                pending.push_back(std::move(path));
            }
        });
    }
    return tree;
}

SyncTree readRemoteTree(const kvxclient::FileAccess& files, const RemoteName& top,
                        Diagnostics& diagnostics) {
    SyncTree tree;
    const std::optional<RemoteEntry> entry = findEntry(files, top);
    if (!entry) {
        return tree;
    }
    if (!entry->folder) {
        throw Failure(ExitCode::CONFLICT, top.text(), "it is a file, not a folder");
    }
    const std::size_t prefix = top.isRoot() ? 1 : top.path().size() + 1;
    const auto visit = [&](const RemoteName& folder, std::vector<RemoteEntry>& entries) {
        const std::string path = folder == top ? "" : toUtf8(folder.path().substr(prefix));
        tree[path] = makeFolderEntry(true);
        std::erase_if(entries, [&](const RemoteEntry& item) {
            return !diagnostics.guard(folder.child(item.name).text(), [&] {
                const std::string name = localName(folder.child(item.name), item.name);
                SyncEntry added = makeFolderEntry(false);
                if (!item.folder) {
                    added = {Kind::FILE, item.size, item.modified, item.modifiedByClient, true};
                }
                tree.emplace(childPath(path, name), added);
            });
        });
    };
    walkFolders(files, diagnostics, top, true, visit);
    return tree;
}

}  // namespace storage::kvxtool
