#pragma once

#include <memory>
#include <string>

#include "remote/HttpLoop.h"
#include "remote/Programs.h"
#include "store/EmbeddedStore.h"

namespace bench {

/// The store of this project behind its server, without TLS, over loopback.
class ServedStore final : public ClientPeer {
public:
    explicit ServedStore(const std::string& folder);

    std::uint16_t port() const { return port_; }
    pid_t server() const { return server_->id(); }
    const std::string& token() const { return token_; }

private:
    std::string token_;
    std::uint16_t port_;
    std::unique_ptr<Program> server_;
};

/// The files of a ServedStore asked for by a bare client, which shows what our own client costs.
class BareClient final : public LocalPeer {
public:
    explicit BareClient(const ServedStore& store);

protected:
    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t) override {}
    std::size_t get(int, const std::string& name) override;
    std::size_t readRange(int, std::size_t offset, std::size_t size) override;
    std::size_t list() override { return 0; }
    void ping(int) override { http_.get("/v1/ping"); }

private:
    HttpLoop http_;
};

/// Files in a folder, given out by nginx, asked for by the same bare client.
class Nginx final : public LocalPeer {
public:
    explicit Nginx(const std::string& folder);

protected:
    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t) override {}
    std::size_t get(int, const std::string& name) override { return http_->get("/" + name); }
    std::size_t readRange(int, std::size_t offset, std::size_t size) override;
    std::size_t list() override { return 0; }
    void ping(int) override { http_->get("/empty"); }

private:
    std::unique_ptr<Program> program_;
    std::unique_ptr<HttpLoop> http_;
};

}  // namespace bench
