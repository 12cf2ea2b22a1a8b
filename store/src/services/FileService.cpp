#include "services/FileService.h"

#include "operations/Files.h"
#include "operations/Folders.h"
#include "operations/Relocation.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

FileService::FileService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                         std::string applicationId, ServiceLink link)
    : FileAccess(std::move(endpoint), std::move(sessionIdSupplier), std::move(applicationId)),
      link_(std::move(link)) {}

template <class Request, class Response>
void FileService::serve(Response (*operation)(const operations::Context&, const Request&),
                        Access access, Request& request,
                        CompletionHandler<Response>& handler) const {
    link_.serve(operation, access, getSessionId(), std::move(request), std::move(handler));
}

void FileService::createFile(FileCreateRequest request,
                             CompletionHandler<FileWriteResponse> handler) const {
    serve(operations::createFile, Access::WRITE, request, handler);
}

void FileService::deleteFile(FileDeleteRequest request,
                             CompletionHandler<FileDeleteResponse> handler) const {
    serve(operations::deleteFile, Access::WRITE, request, handler);
}

void FileService::createFileDownload(FileDownloadCreateRequest request,
                                     CompletionHandler<FileDownloadCreateResponse> handler) const {
    serve(operations::createFileDownload, Access::WRITE, request, handler);
}

void FileService::downloadFile(FileDownloadRequest request,
                               CompletionHandler<FileDownloadResponse> handler) const {
    serve(operations::downloadFile, Access::READ, request, handler);
}

void FileService::createFolder(FolderCreateRequest request,
                               CompletionHandler<FolderCreateResponse> handler) const {
    serve(operations::createFolder, Access::WRITE, request, handler);
}

void FileService::deleteFolder(FolderDeleteRequest request,
                               CompletionHandler<FolderDeleteResponse> handler) const {
    serve(operations::deleteFolder, Access::WRITE, request, handler);
}

void FileService::createReadOnlyFileHandle(
    FileHandleReadOnlyCreateRequest,
    CompletionHandler<FileHandleReadOnlyCreateResponse> handler) const {
    link_.refuse(std::move(handler));
}

void FileService::createReadWriteFileHandle(
    FileHandleReadWriteCreateRequest,
    CompletionHandler<FileHandleReadWriteCreateResponse> handler) const {
    link_.refuse(std::move(handler));
}

void FileService::readFile(FileReadRequest request,
                           CompletionHandler<FileReadResponse> handler) const {
    serve(operations::readFile, Access::READ, request, handler);
}

void FileService::readFileContent(FileContentReadRequest,
                                  CompletionHandler<FileContentReadResponse> handler) const {
    link_.refuse(std::move(handler));
}

void FileService::writeFileContent(FileContentWriteRequest,
                                   CompletionHandler<FileContentWriteResponse> handler) const {
    link_.refuse(std::move(handler));
}

void FileService::closeFileHandle(FileHandleCloseRequest,
                                  CompletionHandler<FileHandleCloseResponse> handler) const {
    link_.refuse(std::move(handler));
}

void FileService::listFolder(FolderListRequest request,
                             CompletionHandler<FolderListResponse> handler) const {
    serve(operations::listFolder, Access::READ, request, handler);
}

void FileService::listMultiFolder(MultiFolderListRequest request,
                                  CompletionHandler<MultiFolderListResponse> handler) const {
    serve(operations::listMultiFolder, Access::READ, request, handler);
}

void FileService::move(MoveOrCopyRequest request,
                       CompletionHandler<MoveOrCopyResponse> handler) const {
    serve(operations::move, Access::WRITE, request, handler);
}

void FileService::copy(MoveOrCopyRequest request,
                       CompletionHandler<MoveOrCopyResponse> handler) const {
    serve(operations::copy, Access::WRITE, request, handler);
}

void FileService::readFileAttributes(FileAttributesReadRequest request,
                                     CompletionHandler<FileAttributesReadResponse> handler) const {
    serve(operations::readFileAttributes, Access::READ, request, handler);
}

void FileService::setMetadata(SetMetadataRequest request,
                              CompletionHandler<SetMetadataResponse> handler) const {
    serve(operations::setMetadata, Access::WRITE, request, handler);
}

}  // namespace storage::kvxstore::services
