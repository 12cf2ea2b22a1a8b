#include "store/EmbeddedStore.h"

#include "Harness.h"

namespace bench {

namespace {

using namespace storage::kvxclient;

Resource resource(const std::string& name) {
    return {u"/" + std::u16string(name.begin(), name.end()), u"bench"};
}

}  // namespace

EmbeddedStore::EmbeddedStore(const std::string& folder)
    : store_(storage::kvxstore::Store::open("sqlite://" + folder + "/store.db")),
      client_(store_->createClient()) {
    const std::string token = store_->createUser({u"bench"});
    client_->withSessionId(client_->login(LoginRequest().withToken(token)).getSessionId());
    files_ = client_->createFileAccess();
    files_->createFolder(FolderCreateRequest(resource("listed")));
}

void EmbeddedStore::put(const std::string& name, std::string_view content) {
    FileCreateRequest request(resource(name));
    request.appendContent(content.data(), content.size());
    files_->createFile(std::move(request));
}

void EmbeddedStore::fill(std::size_t entries) {
    std::vector<std::future<FileWriteResponse>> pending;
    for (std::size_t i = 0; i < entries; ++i) {
        pending.push_back(files_->createFileAsync(resource("listed/entry-" + std::to_string(i))));
    }
    for (auto& answer : pending) {
        answer.get();
    }
}

std::size_t EmbeddedStore::get(int, const std::string& name) {
    const auto bytes = files_->readFile(resource(name)).getResponseBody();
    keep(bytes);
    return bytes.size();
}

std::size_t EmbeddedStore::readRange(int caller, std::size_t offset, std::size_t size) {
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

std::size_t EmbeddedStore::list() {
    const auto entries = files_->listFolder(resource("listed")).getFiles();
    keep(entries);
    return entries.size();
}

}  // namespace bench
