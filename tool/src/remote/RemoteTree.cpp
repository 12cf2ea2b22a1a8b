#include "remote/RemoteTree.h"

#include <algorithm>
#include <future>
#include <nlohmann/json.hpp>

#include "ui/Failure.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;
using kvxclient::FolderListResponse;
using kvxclient::KVXClientErrorCode;

constexpr std::size_t LISTINGS_AHEAD = 16;

/// For the summaries of files and folders and for attributes.
template <class Summary>
bool isModifiedByClient(const Summary& summary) {
    return summary.getClientLastModified().time_since_epoch().count() != 0;
}

template <class Summary>
std::chrono::system_clock::time_point modifiedOf(const Summary& summary) {
    return isModifiedByClient(summary) ? summary.getClientLastModified()
                                       : summary.getLastModified();
}

struct Pending {
    RemoteName folder;
    std::future<FolderListResponse> listing;
};

std::future<FolderListResponse> startListing(const FileAccess& files, const RemoteName& folder,
                                             bool showHidden) {
    return files.listFolderAsync(listRequest(folder, showHidden));
}

kvxclient::FileAttributes readAttributes(const FileAccess& files, kvxclient::Resource resource) {
    kvxclient::FileAttributesReadRequest request(std::move(resource));
    return files.readFileAttributes(std::move(request.withSharingMetadata(false)))
        .getFileAttributes();
}

}  // namespace

RemoteEntry entryOf(const kvxclient::FileAttributes& attributes) {
    return {attributes.getName(), attributes.getType() == "FOLDER", attributes.getWritable(),
            attributes.getSize(), modifiedOf(attributes),           isModifiedByClient(attributes)};
}

RemoteEntry readEntry(const FileAccess& files, const RemoteName& name) {
    RemoteEntry entry = entryOf(readAttributes(files, name.resource()));
    requireKind(name, entry);
    return entry;
}

void requireKind(const RemoteName& name, const RemoteEntry& entry) {
    if (name.hasTrailingSlash() && !entry.folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a file, not a folder");
    }
}

std::optional<RemoteEntry> findEntry(const FileAccess& files, const RemoteName& name) {
    std::optional<RemoteEntry> entry;
    refusedWith(KVXClientErrorCode::RESOURCE_NOT_FOUND, [&] { entry = readEntry(files, name); });
    return entry;
}

kvxclient::FolderListRequest listRequest(const RemoteName& folder, bool showHidden) {
    kvxclient::FolderListRequest request(folder.resource());
    request.withShowHidden(showHidden).withShowShared(false).withIncludeInvitations(false);
    return request;
}

Json jsonOf(const RemoteName& name, const RemoteEntry& entry) {
    Json object{{"name", name.text()}, {"type", entry.folder ? "folder" : "file"}};
    if (!entry.folder) {
        object["size"] = entry.size;
    }
    object["modified"] = utcTime(entry.modified);
    object["writable"] = entry.writable;
    return object;
}

void requireFolder(const FileAccess& files, const RemoteName& name) {
    if (!readEntry(files, name).folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a file, not a folder");
    }
}

void requireFile(const FileAccess& files, const RemoteName& name) {
    if (readEntry(files, name).folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a folder");
    }
}

kvxclient::VersionSummary findVersion(const kvxclient::IVersioning& versions,
                                      const RemoteName& name, const std::string& labelOrId) {
    for (const auto& version : versions.listVersions({name.resource()}).getVersions()) {
        if (version.getVersionId() == labelOrId ||
            std::to_string(version.getVersionLabel()) == labelOrId) {
            return version;
        }
    }
    throw Failure(ExitCode::NOT_FOUND, name.text(), "it has no version " + labelOrId);
}

void requireBucket(const FileAccess& files, RemoteName name) {
    const std::string text = name.text();
    while (!findEntry(files, name)) {
        if (name.isRoot()) {
            throw Failure(ExitCode::NOT_FOUND, text,
                          "there is no such bucket, or nothing here is shared with you");
        }
        name = name.parent();
    }
}

// Two names of one root have the same time of creation.
bool isOwnBucket(const FileAccess& files, const std::u16string& bucket) {
    if (bucket.empty()) {
        return true;
    }
    const auto root = [&](const std::u16string& name) {
        return readAttributes(files, kvxclient::Resource(u"/", name));
    };
    bool own = false;
    const auto compare = [&] {
        const kvxclient::FileAttributes attributes = root(bucket);
        own = attributes.getAccessType() == kvxclient::AccessType::OWNER &&
              attributes.getCreated() == root(u"").getCreated();
    };
    // A user with whom only a folder is shared may not see the root.
    refusedWith(KVXClientErrorCode::UNAUTHORIZED,
                [&] { refusedWith(KVXClientErrorCode::RESOURCE_NOT_FOUND, compare); });
    return own;
}

bool createFolder(const FileAccess& files, const RemoteName& name) {
    return !refusedWith(KVXClientErrorCode::CONFLICT,
                        [&] { files.createFolder({name.resource()}); });
}

void createFolders(const FileAccess& files, const RemoteName& name,
                   const std::function<void(const RemoteName&)>& created) {
    const bool parentIsMissing = refusedWith(KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND, [&] {
        createFolder(files, name) ? created(name) : requireFolder(files, name);
    });
    if (parentIsMissing) {
        createFolders(files, name.parent(), created);
        createFolders(files, name, created);
    }
}

std::vector<RemoteEntry> entriesOf(const FolderListResponse& response) {
    std::vector<RemoteEntry> entries;
    for (const kvxclient::FolderSummary& folder : response.getFolders()) {
        entries.push_back({folder.getName(), true, folder.isWritable(), 0, modifiedOf(folder),
                           isModifiedByClient(folder)});
    }
    for (const kvxclient::FileSummary& file : response.getFiles()) {
        entries.push_back({file.getName(), false, file.isWritable(), file.getSize(),
                           modifiedOf(file), isModifiedByClient(file)});
    }
    std::sort(entries.begin(), entries.end(),
              [](const RemoteEntry& a, const RemoteEntry& b) { return a.name < b.name; });
    return entries;
}

void walkFolders(const FileAccess& files, Diagnostics& diagnostics, const RemoteName& root,
                 bool showHidden,
                 const std::function<void(const RemoteName&, std::vector<RemoteEntry>&)>& visit) {
    std::vector<Pending> stack;
    const auto visitFolder = [&](const RemoteName& folder, const FolderListResponse& listing) {
        std::vector<RemoteEntry> entries = entriesOf(listing);
        visit(folder, entries);
        // The last one pushed is the next one visited.
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
            if (entry->folder) {
                stack.push_back({folder.child(entry->name), {}});
            }
        }
    };

    visitFolder(root, startListing(files, root, showHidden).get());
    while (!stack.empty()) {
        const std::size_t ahead = std::min(LISTINGS_AHEAD, stack.size());
        for (auto next = stack.rbegin(); next != stack.rbegin() + static_cast<long>(ahead);
             ++next) {
            if (!next->listing.valid()) {
                next->listing = startListing(files, next->folder, showHidden);
            }
        }
        Pending next = std::move(stack.back());
        stack.pop_back();
        std::optional<FolderListResponse> listing;
        if (diagnostics.guard(next.folder.text(), [&] { listing = next.listing.get(); })) {
            visitFolder(next.folder, *listing);
        }
    }
}

RemoteTarget::RemoteTarget(const FileAccess& files, const RemoteName& target, bool severalSources)
    : target_(target), entry_(findEntry(files, target)) {
    folder_ = target.hasTrailingSlash() || (entry_ && entry_->folder);
    if (!entry_) {
        const RemoteName holder = folder_ ? target : target.parent();
        const bool isSure = holder.isRoot() && holder.isInOwnBucket();
        if (severalSources || holder == target || !(isSure || findEntry(files, holder))) {
            requireBucket(files, target);
            throw Failure(
                ExitCode::NOT_FOUND, severalSources ? target.text() : holder.text(),
                severalSources ? "no such folder, and several sources need one" : "no such folder");
        }
    } else if (severalSources && !entry_->folder) {
        throw Failure(ExitCode::CONFLICT, target.text(),
                      "it is a file, and several sources need a folder");
    }
}

}  // namespace storage::kvxtool
