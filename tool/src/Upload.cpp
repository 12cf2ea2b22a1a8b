#include "Upload.h"

#include <algorithm>
#include <system_error>

#include "Failure.h"
#include "RemoteTree.h"
#include "Text.h"
#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtool {

namespace fs = std::filesystem;

void Upload::addFile(const fs::path& source, const RemoteName& target) {
    std::error_code ignored;
    const std::uintmax_t size = fs::file_size(source, ignored);
    bytesToSend_ += ignored ? 0 : size;
    filesToSend_.push_back({source, target});
}

void Upload::addTree(const fs::path& source, const RemoteName& target) {
    std::vector<Folder> pending{{source, target, 0}};
    while (!pending.empty()) {
        const Folder folder = std::move(pending.back());
        pending.pop_back();
        folders_.push_back(folder);
        diagnostics_.guard(folder.source.string(), [&] {
            std::vector<fs::directory_entry> entries(fs::directory_iterator(folder.source), {});
            std::sort(entries.begin(), entries.end());
            for (const fs::directory_entry& entry : entries) {
                diagnostics_.guard(entry.path().string(),
                                   [&] { addEntry(entry, folder, pending); });
            }
        });
    }
}

void Upload::addEntry(const fs::directory_entry& entry, const Folder& parent,
                      std::vector<Folder>& folders) {
    const fs::path& source = entry.path();
    const fs::file_status status = entry.symlink_status();
    if (!fs::is_regular_file(status) && !fs::is_directory(status)) {
        diagnostics_.warn(source.string(), fs::is_symlink(status) ? "left out: a symbolic link"
                                                                  : "left out: a special file");
        return;
    }
    const std::optional<std::u16string> name = toUtf16(source.filename().string());
    if (!name) {
        throw Failure(ExitCode::REFUSED, source.string(), "the name is not valid UTF-8");
    }
    const RemoteName target = parent.target.child(*name);
    if (fs::is_directory(status)) {
        folders.push_back({source, target, parent.depth + 1});
    } else {
        addFile(source, target);
    }
}

void Upload::run() {
    diagnostics_.progress().begin(bytesToSend_, filesToSend_.size());
    createFolders();
    for (const File& file : filesToSend_) {
        if (!isBelowMissingFolder(file.target)) {
            diagnostics_.guard(file.source.string(), [&] { startFile(file); });
        }
    }
    fileCalls_.drain();
    timeCalls_.drain();
    diagnostics_.progress().end();
}

/// Creates the folders of one depth at a time: a folder must exist before those in it.
void Upload::createFolders() {
    std::stable_sort(folders_.begin(), folders_.end(),
                     [](const Folder& a, const Folder& b) { return a.depth < b.depth; });
    std::size_t depth = 0;
    for (const Folder& folder : folders_) {
        if (folder.depth != depth) {
            folderCalls_.drain();
            depth = folder.depth;
        }
        if (isBelowMissingFolder(folder.target)) {
            missingFolders_.insert(folder.target.path());
            continue;
        }
        folderCalls_.makeRoom();
        folderCalls_.add(files_.createFolderAsync({folder.target.resource()}),
                         [this, &folder](auto& call) { folderCreated(folder, call); });
    }
    folderCalls_.drain();
}

void Upload::folderCreated(const Folder& folder,
                           std::future<kvxclient::FolderCreateResponse>& call) {
    const bool exists = diagnostics_.guard(folder.target.text(), [&] {
        try {
            call.get();
        } catch (const kvxclient::KVXClientException& error) {
            if (error.getErrorCode() != kvxclient::KVXClientErrorCode::CONFLICT) {
                throw;
            }
            requireFolder(files_, folder.target);
        }
    });
    if (!exists) {
        missingFolders_.insert(folder.target.path());
    }
}

void Upload::startFile(const File& file) {
    LocalInput source(file.source);
    // Room is made before the file is read: what waits for room is not in memory.
    fileCalls_.makeRoom(source.size());
    kvxclient::FileCreateRequest request(file.target.resource());
    source.readInto(request);
    const std::size_t size = request.getContent().size();
    fileCalls_.add(
        files_.createFileAsync(std::move(request)),
        [this, &file, modified = source.modified(), size](auto& call) {
            fileCreated(file, modified, size, call);
            diagnostics_.progress().addBytes(size);
            diagnostics_.progress().addFile();
        },
        size);
}

void Upload::fileCreated(const File& file, std::optional<Time> modified, std::size_t size,
                         std::future<kvxclient::FileWriteResponse>& call) {
    diagnostics_.guard(file.target.text(), [&] {
        call.get();
        if (!modified) {
            return;
        }
        kvxclient::SetMetadataRequest request(file.target.resource());
        request.withClientLastModified(*modified);
        timeCalls_.makeRoom();
        timeCalls_.add(files_.setMetadataAsync(std::move(request)),
                       [this, &file, size](auto& timeCall) {
                           diagnostics_.guard(file.target.text(), [&] {
                               timeCall.get();
                               if (done_) {
                                   done_(file.source, size);
                               }
                           });
                       });
    });
}

void Upload::send(LocalInput& source, const RemoteName& target) {
    kvxclient::FileCreateRequest request(target.resource());
    source.readInto(request);
    files_.createFile(std::move(request));
}

}  // namespace storage::kvxtool
