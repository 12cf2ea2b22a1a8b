#include "remote/ServedStore.h"

#include <storage/kvxremote/Remote.h>

#include <filesystem>
#include <fstream>

namespace bench {

namespace {

std::string sessionOf(const ServedStore& store) {
    const auto client =
        storage::kvxremote::connect("kvx+plain://127.0.0.1:" + std::to_string(store.port()));
    return client->login(storage::kvxclient::LoginRequest().withToken(store.token()))
        .getSessionId();
}

std::string rangeOf(std::size_t offset, std::size_t size) {
    return std::to_string(offset) + '-' + std::to_string(offset + size - 1);
}

std::string local(std::uint16_t port) { return "http://127.0.0.1:" + std::to_string(port); }

}  // namespace

ServedStore::ServedStore(const std::string& folder) : port_(freePort()) {
    const std::string url = "sqlite://" + folder + "/served.db";
    token_ = storage::kvxstore::Store::open(url)->createUser({u"bench"});
    server_ = std::make_unique<Program>(
        std::vector<std::string>{KVXD, "--store", url, "--plain", "--listen",
                                 "127.0.0.1:" + std::to_string(port_), "--log", "warn"});
    waitFor(port_);
    begin(storage::kvxremote::connect("kvx+plain://127.0.0.1:" + std::to_string(port_)), token_);
}

BareClient::BareClient(const ServedStore& store)
    : http_(local(store.port()), {"Authorization: Bearer " + sessionOf(store)}) {}

void BareClient::put(const std::string& name, std::string_view content) {
    http_.put("/v1/files/-/bare-" + name, content);
}

std::size_t BareClient::get(int, const std::string& name) {
    return http_.get("/v1/files/-/" + name);
}

std::size_t BareClient::readRange(int, std::size_t, std::size_t) { return 0; }

Nginx::Nginx(const std::string& folder) {
    const std::uint16_t port = freePort();
    const std::filesystem::path root = folder + "/nginx";
    std::filesystem::create_directories(root / "files");
    std::filesystem::permissions(root / "files", std::filesystem::perms::all);
    std::ofstream(root / "files" / "empty").close();
    std::ofstream(root / "conf")
        << "daemon off; master_process off; worker_processes 1; error_log stderr crit;\n"
        << "pid " << (root / "pid").string() << ";\n"
        << "events { worker_connections 1024; }\n"
        << "http { access_log off; sendfile on; tcp_nopush off; keepalive_requests 100000000;\n"
        << "client_max_body_size 0; client_body_temp_path " << (root / "body").string() << ";\n"
        << "server { listen 127.0.0.1:" << port << "; root " << (root / "files").string()
        << "; dav_methods PUT; } }\n";
    program_ = std::make_unique<Program>(
        std::vector<std::string>{"nginx", "-p", root.string(), "-c", (root / "conf").string()});
    waitFor(port);
    http_ = std::make_unique<HttpLoop>(local(port), std::vector<std::string>());
}

void Nginx::put(const std::string& name, std::string_view content) {
    http_->put("/" + name, content);
}

std::size_t Nginx::readRange(int, std::size_t offset, std::size_t size) {
    return http_->get(std::string("/") + bigFile, rangeOf(offset, size));
}

}  // namespace bench
