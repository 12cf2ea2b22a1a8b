#include "services/FileService.h"

#include "operations/Operations.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

FileService::FileService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                         std::string applicationId, ServiceLink link)
    : FileAccess(std::move(endpoint), std::move(sessionIdSupplier), std::move(applicationId)),
      link_(std::move(link)) {}

template <class Request, class Response>
void FileService::serve(const Operation<Request, Response>& operation, Request& request,
                        CompletionHandler<Response>& handler) const {
    link_.serve(operation, getSessionId(), std::move(request), std::move(handler));
}

void FileService::createFile(FileCreateRequest request,
                             CompletionHandler<FileWriteResponse> handler) const {
    serve(Operation{"createFile", operations::createFile, Access::WRITE}, request, handler);
}

void FileService::deleteFile(FileDeleteRequest request,
                             CompletionHandler<FileDeleteResponse> handler) const {
    serve(Operation{"deleteFile", operations::deleteFile, Access::WRITE}, request, handler);
}

void FileService::createFileDownload(FileDownloadCreateRequest request,
                                     CompletionHandler<FileDownloadCreateResponse> handler) const {
    serve(Operation{"createFileDownload", operations::createFileDownload, Access::WRITE}, request,
          handler);
}

void FileService::downloadFile(FileDownloadRequest request,
                               CompletionHandler<FileDownloadResponse> handler) const {
    serve(Operation{"downloadFile", operations::downloadFile, Access::READ}, request, handler);
}

void FileService::createFolder(FolderCreateRequest request,
                               CompletionHandler<FolderCreateResponse> handler) const {
    serve(Operation{"createFolder", operations::createFolder, Access::WRITE}, request, handler);
}

void FileService::deleteFolder(FolderDeleteRequest request,
                               CompletionHandler<FolderDeleteResponse> handler) const {
    serve(Operation{"deleteFolder", operations::deleteFolder, Access::WRITE}, request, handler);
}

void FileService::createReadOnlyFileHandle(
    FileHandleReadOnlyCreateRequest request,
    CompletionHandler<FileHandleReadOnlyCreateResponse> handler) const {
    serve(
        Operation{"createReadOnlyFileHandle", operations::createReadOnlyFileHandle, Access::WRITE},
        request, handler);
}

void FileService::createReadWriteFileHandle(
    FileHandleReadWriteCreateRequest request,
    CompletionHandler<FileHandleReadWriteCreateResponse> handler) const {
    serve(Operation{"createReadWriteFileHandle", operations::createReadWriteFileHandle,
                    Access::WRITE},
          request, handler);
}

void FileService::readFile(FileReadRequest request,
                           CompletionHandler<FileReadResponse> handler) const {
    serve(Operation{"readFile", operations::readFile, Access::READ}, request, handler);
}

void FileService::readFileContent(FileContentReadRequest request,
                                  CompletionHandler<FileContentReadResponse> handler) const {
    serve(Operation{"readFileContent", operations::readFileContent, Access::READ}, request,
          handler);
}

void FileService::writeFileContent(FileContentWriteRequest request,
                                   CompletionHandler<FileContentWriteResponse> handler) const {
    serve(Operation{"writeFileContent", operations::writeFileContent, Access::WRITE}, request,
          handler);
}

void FileService::closeFileHandle(FileHandleCloseRequest request,
                                  CompletionHandler<FileHandleCloseResponse> handler) const {
    serve(Operation{"closeFileHandle", operations::closeFileHandle, Access::WRITE}, request,
          handler);
}

void FileService::listFolder(FolderListRequest request,
                             CompletionHandler<FolderListResponse> handler) const {
    serve(Operation{"listFolder", operations::listFolder, Access::READ}, request, handler);
}

void FileService::listMultiFolder(MultiFolderListRequest request,
                                  CompletionHandler<MultiFolderListResponse> handler) const {
    serve(Operation{"listMultiFolder", operations::listMultiFolder, Access::READ}, request,
          handler);
}

void FileService::move(MoveOrCopyRequest request,
                       CompletionHandler<MoveOrCopyResponse> handler) const {
    serve(Operation{"move", operations::move, Access::WRITE}, request, handler);
}

void FileService::copy(MoveOrCopyRequest request,
                       CompletionHandler<MoveOrCopyResponse> handler) const {
    serve(Operation{"copy", operations::copy, Access::WRITE}, request, handler);
}

void FileService::readFileAttributes(FileAttributesReadRequest request,
                                     CompletionHandler<FileAttributesReadResponse> handler) const {
    serve(Operation{"readFileAttributes", operations::readFileAttributes, Access::READ}, request,
          handler);
}

void FileService::setMetadata(SetMetadataRequest request,
                              CompletionHandler<SetMetadataResponse> handler) const {
    serve(Operation{"setMetadata", operations::setMetadata, Access::WRITE}, request, handler);
}

}  // namespace storage::kvxstore::services
