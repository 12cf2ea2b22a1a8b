#include "transfer/Download.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "local/LocalFile.h"
#include "remote/RemoteHandle.h"
#include "ui/Failure.h"
#include "ui/Interruption.h"
#include "ui/Text.h"

namespace storage::kvxtool {

namespace fs = std::filesystem;

namespace {

/// The size of an old version is unknown.
bool isSentWhole(unsigned long size, const std::string& versionId) {
    return size <= RemoteHandle::RANGE_SIZE && versionId.empty();
}

}  // namespace

Download::Download(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
                   const TransferOptions& options)
    : files_(files),
      diagnostics_(diagnostics),
      report_(diagnostics, options),
      rangesAtOnce_(std::min(options.jobs, RemoteHandle::RANGES_AT_ONCE)),
      calls_(options.jobs) {}

void refuseLink(const fs::path& target) {
    if (fs::is_symlink(target)) {
        throw Failure(ExitCode::CONFLICT, target.string(), "a symbolic link is in the way");
    }
}

std::string localName(const RemoteName& item, const std::u16string& name) {
    std::string local = toUtf8(name);
    if (local.empty() || local == "." || local == ".." || toUtf16(local) != name ||
        local.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        throw Failure(ExitCode::REFUSED, item.text(), "a local file cannot have this name");
    }
    return local;
}

void Download::addFile(const RemoteName& source, const RemoteEntry& entry, const fs::path& target,
                       const std::string& versionId) {
    report_.expect(entry.size);
    filesToFetch_.push_back({source, target, entry.modified, entry.size, versionId});
}

void Download::addTree(const RemoteName& source, const fs::path& target) {
    const std::size_t rootLength = source.isRoot() ? 1 : source.path().size() + 1;
    const auto visit = [&](const RemoteName& folder, std::vector<RemoteEntry>& entries) {
        const bool top = folder == source;
        const fs::path local = top ? target : target / toUtf8(folder.path().substr(rootLength));
        folders_.push_back({local, top});
        std::erase_if(entries, [&](const RemoteEntry& entry) {
            const RemoteName item = folder.child(entry.name);
            return !diagnostics_.guard(item.text(), [&] {
                const std::string name = localName(item, entry.name);
                refuseLink(local / name);
                if (!entry.folder) {
                    addFile(item, entry, local / name);
                }
            });
        });
    };
    walkFolders(files_, diagnostics_, source, true, visit);
}

void Download::run() {
    const Interruption interruption;
    report_.begin();
    try {
        createFolders();
        for (const File& file : filesToFetch_) {
            const fs::path folder = file.target.parent_path();
            if (missingFolders_.count(folder) == 0) {
                if (cleanedFolders_.insert(folder).second) {
                    LocalOutput::removeLeftovers(folder.empty() ? "." : folder);
                }
                startFile(file);
            }
        }
        calls_.drain();
    } catch (const Interrupted&) {
        report_.interrupted("fetched");
        throw;
    } catch (const SessionEnded&) {
        calls_.drainEnded();
        report_.end("fetched");
        throw;
    }
    report_.end("fetched");
}

void Download::createFolders() {
    for (const Folder& folder : folders_) {
        Interruption::check();
        const bool parentMissing = missingFolders_.count(folder.target.parent_path()) != 0;
        if (parentMissing ||
            !diagnostics_.guard(folder.target.string(), [&] { createFolder(folder); })) {
            missingFolders_.insert(folder.target);
        }
    }
}

void Download::createFolder(const Folder& folder) {
    if (mkdir(folder.target.c_str(), 0777) == 0) {
        return;
    }
    const int error = errno;
    if (error == ENOENT) {
        throwCreationError(folder.target, error);
    }
    // Below the top a link is in the way: it could lead anywhere.
    const fs::file_status status =
        folder.top ? fs::status(folder.target) : fs::symlink_status(folder.target);
    if (error != EEXIST || !fs::is_directory(status)) {
        throw std::system_error(error, std::generic_category());
    }
}

void Download::startFile(const File& file) {
    Interruption::check();
    if (isSentWhole(file.size, file.versionId)) {
        startWhole(file);
        return;
    }
    diagnostics_.guard(file.source.text(), [&] {
        LocalOutput output(file.target, diagnostics_.progress());
        commit(file, output, writeRanges(file.source, file.versionId, output));
    });
    diagnostics_.progress().addFile();
}

void Download::startWhole(const File& file) {
    calls_.makeRoom(file.size);
    calls_.add(
        files_.readFileAsync({file.source.resource()}),
        [this, &file](auto& call) {
            Interruption::check();
            diagnostics_.guard(file.source.text(), [&] {
                const std::vector<char> content = call.get().getResponseBody();
                LocalOutput output(file.target, diagnostics_.progress());
                output.write({content.data(), content.size()});
                commit(file, output, content.size());
            });
            diagnostics_.progress().addFile();
        },
        file.size);
}

void Download::commit(const File& file, LocalOutput& output, unsigned long size) {
    output.commit(file.modified);
    report_.done(file.source.text(), file.target.string(), size);
}

/// Returns how many bytes they were.
unsigned long Download::writeRanges(const RemoteName& source, const std::string& versionId,
                                    LocalOutput& output) const {
    const RemoteHandle handle(files_, source, versionId);
    CallWindow<kvxclient::FileContentReadResponse> calls(rangesAtOnce_);
    for (unsigned long start = 0; start < handle.size(); start += RemoteHandle::RANGE_SIZE) {
        const unsigned long size = std::min(RemoteHandle::RANGE_SIZE, handle.size() - start);
        calls.makeRoom();
        calls.add(handle.read(start, size), [&output, size](auto& call) {
            Interruption::check();
            const std::vector<char> content = call.get().getResponseBody();
            if (content.size() != size) {
                throw std::runtime_error("the store gave another number of bytes than asked for");
            }
            output.write({content.data(), content.size()});
        });
    }
    calls.drain();
    return handle.size();
}

void Download::print(const RemoteName& source, const RemoteEntry& entry,
                     const std::string& versionId) {
    const Interruption interruption;
    LocalOutput output(diagnostics_.progress());
    if (isSentWhole(entry.size, versionId)) {
        const std::vector<char> content = files_.readFile({source.resource()}).getResponseBody();
        output.write({content.data(), content.size()});
    } else {
        writeRanges(source, versionId, output);
    }
}

}  // namespace storage::kvxtool
