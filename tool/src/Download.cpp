#include "Download.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "Failure.h"
#include "Text.h"

namespace storage::kvxtool {

namespace fs = std::filesystem;

namespace {

kvxclient::FileDownloadRequest downloadRequest(const std::string& location,
                                               const std::shared_ptr<LocalOutput>& output) {
    kvxclient::FileDownloadRequest request(location);
    request.withStreamFactory([output] { return output->makeStream(); });
    return request;
}

}  // namespace

std::string localName(const RemoteName& item, const std::u16string& name) {
    std::string local = toUtf8(name);
    if (local.empty() || local == "." || local == ".." || toUtf16(local) != name ||
        local.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        throw Failure(ExitCode::REFUSED, item.text(), "a local file cannot have this name");
    }
    return local;
}

void Download::addFile(const RemoteName& source, const RemoteEntry& entry, const fs::path& target) {
    bytesToFetch_ += entry.size;
    filesToFetch_.push_back({source, target, entry.modified, entry.size});
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
                if (!entry.folder) {
                    addFile(item, entry, local / name);
                }
            });
        });
    };
    walkFolders(files_, diagnostics_, source, true, visit);
}

void Download::run() {
    diagnostics_.progress().begin(bytesToFetch_, filesToFetch_.size());
    createFolders();
    for (const File& file : filesToFetch_) {
        if (missingFolders_.count(file.target.parent_path()) == 0) {
            startFile(file);
        }
    }
    locationCalls_.drain();
    contentCalls_.drain();
    diagnostics_.progress().end();
}

void Download::createFolders() {
    for (const Folder& folder : folders_) {
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
    // Below the top a link is in the way: it could lead anywhere.
    const fs::file_status status =
        folder.top ? fs::status(folder.target) : fs::symlink_status(folder.target);
    if (error != EEXIST || !fs::is_directory(status)) {
        throw std::system_error(error, std::generic_category());
    }
}

void Download::startFile(const File& file) {
    locationCalls_.makeRoom();
    locationCalls_.add(files_.createFileDownloadAsync({file.source.resource()}),
                       [this, &file](auto& call) {
                           diagnostics_.guard(file.source.text(), [&] { fetch(file, call); });
                       });
}

void Download::fetch(const File& file, std::future<kvxclient::FileDownloadCreateResponse>& call) {
    const std::string location = call.get().getLocation();
    std::shared_ptr<LocalOutput> output;
    const bool opened = diagnostics_.guard(file.target.string(), [&] {
        output = LocalOutput::create(file.target, diagnostics_.progress());
    });
    if (!opened) {
        return;
    }
    contentCalls_.makeRoom();
    contentCalls_.add(files_.downloadFileAsync(downloadRequest(location, output)),
                      [this, &file, output](auto& contentCall) {
                          // When writing failed, that is the reason, whatever the call says.
                          const bool written = diagnostics_.guard(file.target.string(), [&] {
                              contentCall.wait();
                              output->throwIfFailed();
                          }) && diagnostics_.guard(file.source.text(), [&] { contentCall.get(); });
                          if (written) {
                              diagnostics_.guard(file.target.string(), [&] {
                                  output->commit(file.modified);
                                  if (done_) {
                                      done_(file.target, file.size);
                                  }
                              });
                          }
                          diagnostics_.progress().addFile();
                      });
}

void Download::print(const RemoteName& source) {
    const auto output = LocalOutput::standardOutput(diagnostics_.progress());
    const std::string location = files_.createFileDownload({source.resource()}).getLocation();
    auto call = files_.downloadFileAsync(downloadRequest(location, output));
    call.wait();
    if (diagnostics_.guard("standard output", [&] { output->throwIfFailed(); })) {
        call.get();
    }
}

}  // namespace storage::kvxtool
