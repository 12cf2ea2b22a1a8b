#pragma once

#include "services/ServiceLink.h"
#include "storage/kvxclient/FileAccess.h"

namespace storage::kvxstore::services {

class FileService final : public kvxclient::FileAccess {
public:
    FileService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                std::string applicationId, ServiceLink link);

    void createFile(
        kvxclient::FileCreateRequest request,
        kvxclient::CompletionHandler<kvxclient::FileWriteResponse> handler) const override;
    void deleteFile(
        kvxclient::FileDeleteRequest request,
        kvxclient::CompletionHandler<kvxclient::FileDeleteResponse> handler) const override;
    void createFileDownload(
        kvxclient::FileDownloadCreateRequest request,
        kvxclient::CompletionHandler<kvxclient::FileDownloadCreateResponse> handler) const override;
    void downloadFile(
        kvxclient::FileDownloadRequest request,
        kvxclient::CompletionHandler<kvxclient::FileDownloadResponse> handler) const override;
    void createFolder(
        kvxclient::FolderCreateRequest request,
        kvxclient::CompletionHandler<kvxclient::FolderCreateResponse> handler) const override;
    void deleteFolder(
        kvxclient::FolderDeleteRequest request,
        kvxclient::CompletionHandler<kvxclient::FolderDeleteResponse> handler) const override;
    void createReadOnlyFileHandle(
        kvxclient::FileHandleReadOnlyCreateRequest request,
        kvxclient::CompletionHandler<kvxclient::FileHandleReadOnlyCreateResponse> handler)
        const override;
    void createReadWriteFileHandle(
        kvxclient::FileHandleReadWriteCreateRequest request,
        kvxclient::CompletionHandler<kvxclient::FileHandleReadWriteCreateResponse> handler)
        const override;
    void readFile(kvxclient::FileReadRequest request,
                  kvxclient::CompletionHandler<kvxclient::FileReadResponse> handler) const override;
    void readFileContent(
        kvxclient::FileContentReadRequest request,
        kvxclient::CompletionHandler<kvxclient::FileContentReadResponse> handler) const override;
    void writeFileContent(
        kvxclient::FileContentWriteRequest request,
        kvxclient::CompletionHandler<kvxclient::FileContentWriteResponse> handler) const override;
    void closeFileHandle(
        kvxclient::FileHandleCloseRequest request,
        kvxclient::CompletionHandler<kvxclient::FileHandleCloseResponse> handler) const override;
    void listFolder(
        kvxclient::FolderListRequest request,
        kvxclient::CompletionHandler<kvxclient::FolderListResponse> handler) const override;
    void listMultiFolder(
        kvxclient::MultiFolderListRequest request,
        kvxclient::CompletionHandler<kvxclient::MultiFolderListResponse> handler) const override;
    void move(kvxclient::MoveOrCopyRequest request,
              kvxclient::CompletionHandler<kvxclient::MoveOrCopyResponse> handler) const override;
    void copy(kvxclient::MoveOrCopyRequest request,
              kvxclient::CompletionHandler<kvxclient::MoveOrCopyResponse> handler) const override;
    void readFileAttributes(
        kvxclient::FileAttributesReadRequest request,
        kvxclient::CompletionHandler<kvxclient::FileAttributesReadResponse> handler) const override;
    void setMetadata(
        kvxclient::SetMetadataRequest request,
        kvxclient::CompletionHandler<kvxclient::SetMetadataResponse> handler) const override;

private:
    template <class Request, class Response>
    void serve(const Operation<Request, Response>& operation, Request& request,
               kvxclient::CompletionHandler<Response>& handler) const;

    ServiceLink link_;
};

}  // namespace storage::kvxstore::services
