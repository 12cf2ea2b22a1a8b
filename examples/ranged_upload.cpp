// Writes a file in ranges through a handle, several in flight, and reads a part of it back.

#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;

int main() {
    const auto store = example::openStore();
    const auto client = example::newUser(*store, u"anna");
    const auto files = client->createFileAccess();
    const Resource resource(u"/large.bin", u"anna");

    const std::string handle =
        files
            ->createReadWriteFileHandle(
                FileHandleReadWriteCreateRequest(resource).withCreateMode(FileCreateMode::CREATE))
            .getFileHandleId();

    // The requests do not copy the bytes: they must live until the calls have completed.
    const std::vector<unsigned char> bytes(10 * 1024 * 1024, 'x');
    std::vector<std::future<FileContentWriteResponse>> writes;
    for (std::size_t start = 0; start < bytes.size(); start += BufferSize::MAX_WRITE_BUFFER_SIZE) {
        const auto size = std::min(bytes.size() - start, BufferSize::MAX_WRITE_BUFFER_SIZE);
        writes.push_back(files->writeFileContentAsync(FileContentWriteRequest(resource)
                                                          .withFileHandleId(handle)
                                                          .withStartLocation(start)
                                                          .withContent(&bytes[start], size)));
    }
    for (auto& write : writes) {
        write.get();
    }
    // Nobody else sees the file before this.
    files->closeFileHandle(FileHandleCloseRequest(resource).withFileHandleId(handle).withOperation(
        FileHandleCloseOperation::COMMIT_CHANGES));

    const auto opened = files->createReadOnlyFileHandle(resource);
    const auto part = files->readFileContent(FileContentReadRequest(resource)
                                                 .withFileHandleId(opened.getFileHandleId())
                                                 .withStartLocation(opened.getFileSize() - 3)
                                                 .withLength(100));
    std::cout << opened.getFileSize() << " bytes, the last " << part.getContentLength() << ": ";
    for (const char byte : part.getResponseBody()) {
        std::cout << byte;
    }
    std::cout << '\n';
    files->closeFileHandle(FileHandleCloseRequest(resource)
                               .withFileHandleId(opened.getFileHandleId())
                               .withOperation(FileHandleCloseOperation::COMMIT_CHANGES));
}
