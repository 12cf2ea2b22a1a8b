#include "transfer/Upload.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

#include "local/LocalFile.h"
#include "local/LocalOutput.h"
#include "remote/RemoteHandle.h"
#include "remote/RemoteTree.h"
#include "ui/Failure.h"
#include "ui/Interruption.h"
#include "ui/Text.h"

namespace storage::kvxtool {

namespace fs = std::filesystem;

Upload::Upload(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
               const TransferOptions& options)
    : files_(files),
      diagnostics_(diagnostics),
      report_(diagnostics, options),
      storeFiles_(options.storeFiles),
      folderCalls_(options.jobs),
      fileCalls_(options.jobs),
      timeCalls_(options.jobs) {
    buffers_.resize(std::min(options.jobs, RemoteHandle::RANGES_AT_ONCE));
    for (auto& buffer : buffers_) {
        buffer = std::make_unique_for_overwrite<char[]>(RemoteHandle::RANGE_SIZE);
    }
}

void Upload::addFile(const fs::path& source, const RemoteName& target) {
    std::error_code ignored;
    const std::uintmax_t size = fs::file_size(source, ignored);
    report_.expect(ignored ? 0 : size);
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
            // Within one folder the order of texts is that of paths, and much faster to compare.
            std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
                return a.path().native() < b.path().native();
            });
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
    if (entry.is_symlink() || (!entry.is_regular_file() && !entry.is_directory())) {
        diagnostics_.leaveOut(source.string(),
                              entry.is_symlink() ? "a symbolic link" : "a special file");
        return;
    }
    if (entry.is_regular_file() && LocalOutput::isTemporaryName(source.filename().string())) {
        diagnostics_.leaveOut(source.string(), "a temporary file of a download");
        return;
    }
    if (belongsToStore(source, storeFiles_)) {
        diagnostics_.leaveOut(source.string(), "the store itself");
        return;
    }
    const std::optional<std::u16string> name = toUtf16(source.filename().string());
    if (!name) {
        throw Failure(ExitCode::REFUSED, source.string(), "the name is not valid UTF-8");
    }
    const RemoteName target = parent.target.child(*name);
    if (entry.is_directory()) {
        folders.push_back({source, target, parent.depth + 1});
    } else {
        addFile(source, target);
    }
}

void Upload::run() {
    diagnostics_.endLeavingOut();
    interruptibly([this] {
        createFolders();
        for (const File& file : filesToSend_) {
            if (!isBelowMissingFolder(file.target)) {
                Interruption::check();
                diagnostics_.guard(file.source.string(), [&] {
                    LocalInput source(file.source);
                    start(source, file.target);
                });
            }
        }
        drain();
    });
}

void Upload::send(LocalInput& source, const RemoteName& target) {
    report_.expect(source.size());
    interruptibly([&] {
        start(source, target);
        drain();
    });
}

template <class Action>
void Upload::interruptibly(Action&& action) {
    const Interruption interruption;
    report_.begin();
    try {
        action();
    } catch (const Interrupted&) {
        drain();  // What is on its way arrives.
        report_.interrupted("sent");
        throw;
    } catch (const SessionEnded&) {
        fileCalls_.drainEnded();
        timeCalls_.drainEnded();
        report_.end("sent");
        throw;
    }
    report_.end("sent");
}

void Upload::drain() {
    fileCalls_.drain();
    timeCalls_.drain();
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
        if (refusedWith(kvxclient::KVXClientErrorCode::CONFLICT, [&] { call.get(); })) {
            requireFolder(files_, folder.target);
        }
    });
    if (!exists) {
        missingFolders_.insert(folder.target.path());
    }
}

void Upload::checkEnd(const LocalInput& source) {
    if (!source.modified()) {
        // Ctrl-C also ends the program that writes into a pipe: its output may be incomplete.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Interruption::check();
    } else if (source.hasChanged()) {
        throw Failure(ExitCode::CONFLICT, source.name(),
                      "it changed while it was read, and is not stored");
    }
}

void Upload::start(LocalInput& source, const RemoteName& target) {
    // Room is made before the file is read, so that nothing in memory waits for room.
    fileCalls_.makeRoom(std::min(source.size(), RemoteHandle::RANGE_SIZE));
    const std::size_t filled = source.read(buffers_.front().get(), RemoteHandle::RANGE_SIZE);
    Sending file{source.name(), target, source.modified(), filled};
    if (filled < RemoteHandle::RANGE_SIZE) {
        checkEnd(source);
        sendWhole(file);
        return;
    }
    diagnostics_.guard(target.text(), [&] {
        file.size = sendRanges(source, target, filled);
        contentSent(file);
    });
    diagnostics_.progress().addFile();
}

void Upload::sendWhole(const Sending& file) {
    kvxclient::FileCreateRequest request(file.target.resource());
    request.withCreateNewVersion(true);
    request.appendContent(buffers_.front().get(), file.size);
    fileCalls_.add(
        files_.createFileAsync(std::move(request)),
        [this, file](auto& call) {
            diagnostics_.guard(file.target.text(), [&] {
                call.get();
                contentSent(file);
            });
            diagnostics_.progress().addBytes(file.size);
            diagnostics_.progress().addFile();
        },
        file.size);
}

/// Sends all of it, of which `filled` bytes are in the first buffer; returns the size.
unsigned long Upload::sendRanges(LocalInput& source, const RemoteName& target, std::size_t filled) {
    RemoteHandle handle(files_, target);
    CallWindow<kvxclient::FileContentWriteResponse> calls(buffers_.size());
    unsigned long position = 0;
    for (std::size_t turn = 0; filled > 0; ++turn) {
        const char* data = buffers_[turn % buffers_.size()].get();
        calls.add(handle.write(position, data, filled), [this, filled](auto& call) {
            call.get();
            diagnostics_.progress().addBytes(filled);
        });
        position += filled;
        calls.makeRoom();  // Now the next buffer is free.
        Interruption::check();
        char* next = buffers_[(turn + 1) % buffers_.size()].get();
        filled =
            filled < RemoteHandle::RANGE_SIZE ? 0 : source.read(next, RemoteHandle::RANGE_SIZE);
    }
    calls.drain();
    checkEnd(source);
    handle.commit();
    return position;
}

void Upload::contentSent(const Sending& file) {
    if (!file.modified) {
        done(file);
        return;
    }
    kvxclient::SetMetadataRequest request(file.target.resource());
    request.withClientLastModified(*file.modified);
    timeCalls_.makeRoom();
    timeCalls_.add(files_.setMetadataAsync(std::move(request)), [this, file](auto& call) {
        diagnostics_.guard(file.target.text(), [&] {
            call.get();
            done(file);
        });
    });
}

void Upload::done(const Sending& file) { report_.done(file.source, file.target.text(), file.size); }

}  // namespace storage::kvxtool
