#include "store/EmbeddedStore.h"

#include <deque>

#include "Harness.h"

namespace bench {

namespace {

using namespace storage::kvxclient;

constexpr std::size_t pieceSize = 4UL << 20U;
constexpr std::size_t piecesAtOnce = 4;

Resource resource(const std::string& name) {
    return {u"/" + std::u16string(name.begin(), name.end()), u"bench"};
}

}  // namespace

EmbeddedStore::EmbeddedStore(const std::string& url) : store_(storage::kvxstore::Store::open(url)) {
    const std::string token = store_->createUser({u"bench"});
    begin(store_->createClient(), token);
}

void ClientPeer::begin(std::unique_ptr<KVXClient> client, const std::string& token) {
    client_ = std::move(client);
    client_->withSessionId(client_->login(LoginRequest().withToken(token)).getSessionId());
    files_ = client_->createFileAccess();
    files_->createFolder(FolderCreateRequest(resource("listed")));
}

void ClientPeer::put(const std::string& name, std::string_view content) {
    FileCreateRequest request(resource(name));
    request.appendContent(content.data(), content.size());
    files_->createFile(std::move(request));
}

void ClientPeer::fill(std::size_t entries) {
    std::vector<std::future<FileWriteResponse>> pending;
    for (std::size_t i = 0; i < entries; ++i) {
        pending.push_back(files_->createFileAsync(resource("listed/entry-" + std::to_string(i))));
    }
    for (auto& answer : pending) {
        answer.get();
    }
}

std::size_t ClientPeer::get(int, const std::string& name) {
    const auto bytes = files_->readFile(resource(name)).getResponseBody();
    keep(bytes);
    return bytes.size();
}

std::size_t ClientPeer::readRange(int caller, std::size_t offset, std::size_t size) {
    std::string& handle = handles_[static_cast<std::size_t>(caller)];
    if (handle.empty()) {
        handle = files_->createReadOnlyFileHandle(resource(bigFile)).getFileHandleId();
    }
    const auto bytes = files_
                           ->readFileContent(FileContentReadRequest(resource(bigFile))
                                                 .withFileHandleId(handle)
                                                 .withStartLocation(offset)
                                                 .withLength(size))
                           .getResponseBody();
    keep(bytes);
    return bytes.size();
}

std::size_t ClientPeer::list() {
    const auto entries = files_->listFolder(resource("listed")).getFiles();
    keep(entries);
    return entries.size();
}

void ClientPeer::ping(int) { client_->ping(); }

void ClientPeer::upload(std::size_t size) {
    static const std::vector<unsigned char> piece(pieceSize, 'p');
    const std::string handle =
        files_
            ->createReadWriteFileHandle(FileHandleReadWriteCreateRequest(resource("uploaded"))
                                            .withCreateMode(FileCreateMode::CREATE_OR_UPDATE)
                                            .withTruncate(true))
            .getFileHandleId();
    std::deque<std::future<FileContentWriteResponse>> pending;
    for (std::size_t offset = 0; offset < size; offset += pieceSize) {
        if (pending.size() == piecesAtOnce) {
            pending.front().get();
            pending.pop_front();
        }
        pending.push_back(
            files_->writeFileContentAsync(FileContentWriteRequest(resource("uploaded"))
                                              .withFileHandleId(handle)
                                              .withStartLocation(offset)
                                              .withContent(piece.data(), pieceSize)));
    }
    for (auto& answer : pending) {
        answer.get();
    }
    files_->closeFileHandle(FileHandleCloseRequest(resource("uploaded")).withFileHandleId(handle));
}

std::size_t ClientPeer::download() {
    const auto opened = files_->createReadOnlyFileHandle(resource("uploaded"));
    std::deque<std::future<FileContentReadResponse>> pending;
    std::size_t got = 0;
    const auto takeOne = [&] {
        got += pending.front().get().getContentLength();
        pending.pop_front();
    };
    for (std::size_t offset = 0; offset < opened.getFileSize(); offset += pieceSize) {
        if (pending.size() == piecesAtOnce) {
            takeOne();
        }
        pending.push_back(
            files_->readFileContentAsync(FileContentReadRequest(resource("uploaded"))
                                             .withFileHandleId(opened.getFileHandleId())
                                             .withStartLocation(offset)
                                             .withLength(pieceSize)));
    }
    while (!pending.empty()) {
        takeOne();
    }
    files_->closeFileHandle(
        FileHandleCloseRequest(resource("uploaded")).withFileHandleId(opened.getFileHandleId()));
    return got;
}

}  // namespace bench
