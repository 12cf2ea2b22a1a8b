#include "remote/RemoteHandle.h"

#include <utility>

namespace storage::kvxtool {

using kvxclient::FileHandleCloseOperation;

RemoteHandle::RemoteHandle(const kvxclient::FileAccess& files, const RemoteName& name,
                           const std::string& versionId)
    : files_(files), resource_(name.resource()) {
    kvxclient::FileHandleReadOnlyCreateRequest request(resource_);
    const auto response = files_.createReadOnlyFileHandle(request.withVersionId(versionId));
    id_ = response.getFileHandleId();
    size_ = response.getFileSize();
}

RemoteHandle::RemoteHandle(const kvxclient::FileAccess& files, const RemoteName& name)
    : files_(files), resource_(name.resource()) {
    kvxclient::FileHandleReadWriteCreateRequest request(resource_);
    request.withCreateMode(kvxclient::FileCreateMode::CREATE_OR_UPDATE).withTruncate(true);
    id_ = files_.createReadWriteFileHandle(std::move(request)).getFileHandleId();
}

RemoteHandle::~RemoteHandle() {
    try {
        if (!id_.empty()) {
            close(FileHandleCloseOperation::ABORT_CHANGES);
        }
    } catch (...) {
        // The store closes it by itself once the session is over.
    }
}

std::future<kvxclient::FileContentReadResponse> RemoteHandle::read(unsigned long start,
                                                                   unsigned long size) const {
    kvxclient::FileContentReadRequest request(resource_);
    request.withFileHandleId(id_).withStartLocation(start).withLength(size);
    return files_.readFileContentAsync(std::move(request));
}

std::future<kvxclient::FileContentWriteResponse> RemoteHandle::write(unsigned long start,
                                                                     const char* data,
                                                                     unsigned long size) const {
    kvxclient::FileContentWriteRequest request(resource_);
    request.withFileHandleId(id_).withStartLocation(start).withContent(
        reinterpret_cast<const unsigned char*>(data), size);
    return files_.writeFileContentAsync(std::move(request));
}

void RemoteHandle::commit() { close(FileHandleCloseOperation::COMMIT_CHANGES); }

void RemoteHandle::close(FileHandleCloseOperation operation) {
    kvxclient::FileHandleCloseRequest request(resource_);
    request.withFileHandleId(id_).withOperation(operation).withCreateNewVersion(true);
    files_.closeFileHandle(std::move(request));
    id_.clear();
}

}  // namespace storage::kvxtool
