#pragma once

#include <sys/stat.h>

#include <boost/asio/ssl.hpp>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "storage/kvxserver/Server.h"

namespace storage::kvxserver {

/// The certificate in use.
class Certificate {
public:
    explicit Certificate(const ServerOptions& options) : options_(options) { reload(); }

    void reload() {
        auto context =
            std::make_shared<boost::asio::ssl::context>(boost::asio::ssl::context::tls_server);
        SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
        SSL_CTX_set_mode(context->native_handle(), SSL_MODE_RELEASE_BUFFERS);
        const auto use = [](const std::string& file, const auto& load) {
            try {
                load();
            } catch (const boost::system::system_error& error) {
                throw std::runtime_error("cannot use " + file + ": " + error.code().message());
            }
        };
        const std::string stamp = stampOfFiles();
        use(options_.certificateFile,
            [&] { context->use_certificate_chain_file(options_.certificateFile); });
        use(options_.keyFile, [&] {
            context->use_private_key_file(options_.keyFile, boost::asio::ssl::context::pem);
        });
        if (!options_.clientCaFile.empty()) {
            use(options_.clientCaFile, [&] { context->load_verify_file(options_.clientCaFile); });
            context->set_verify_mode(boost::asio::ssl::verify_peer |
                                     boost::asio::ssl::verify_fail_if_no_peer_cert);
            static constexpr std::string_view name = "kvxd";
            SSL_CTX_set_session_id_context(context->native_handle(),
                                           reinterpret_cast<const unsigned char*>(name.data()),
                                           static_cast<unsigned>(name.size()));
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        context_ = std::move(context);
        stamp_ = stamp;
    }

    /// Reads the files again if they are others now. While they do not fit each other, the old ones
    /// stay.
    void reloadIfChanged() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (stamp_ == stampOfFiles()) {
                return;
            }
        }
        try {
            reload();
        } catch (const std::exception&) {
            // Tried again in a moment.
        }
    }

    std::shared_ptr<boost::asio::ssl::context> context() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return context_;
    }

private:
    std::string stampOfFiles() const {
        std::string stamp;
        for (const std::string& file :
             {options_.certificateFile, options_.keyFile, options_.clientCaFile}) {
            struct stat status {};
            if (::stat(file.c_str(), &status) == 0) {
                stamp += std::to_string(status.st_ino) + "." +
                         std::to_string(status.st_mtim.tv_sec) + "." +
                         std::to_string(status.st_mtim.tv_nsec) + " ";
            }
        }
        return stamp;
    }

    const ServerOptions options_;
    std::mutex mutex_;
    std::shared_ptr<boost::asio::ssl::context> context_;
    std::string stamp_;
};

}  // namespace storage::kvxserver
