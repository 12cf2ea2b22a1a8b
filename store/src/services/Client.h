#pragma once

#include <memory>

#include "services/ServiceLink.h"
#include "storage/kvxclient/KVXClient.h"

namespace storage::kvxstore::services {

class Client final : public kvxclient::KVXClient {
public:
    explicit Client(std::shared_ptr<Engine> engine);
    ~Client() override;

    void ping(kvxclient::CompletionHandler<kvxclient::PingResponse> handler) const override;
    void login(kvxclient::LoginRequest request,
               kvxclient::CompletionHandler<kvxclient::LoginResponse> handler) const override;
    void logout(kvxclient::LogoutRequest request,
                kvxclient::CompletionHandler<kvxclient::LogoutResponse> handler) const override;

    std::unique_ptr<kvxclient::FileAccess> createFileAccess() const override;
    std::unique_ptr<kvxclient::AccessControl> createAccessControl() const override;
    std::unique_ptr<kvxclient::ConfigurationManagement> createConfigurationManagement()
        const override;
    std::unique_ptr<kvxclient::Notification> createNotification() const override;
    std::unique_ptr<kvxclient::IVersioning> createVersioning() const override;

    void cancelPendingCalls() const override;
    void waitForPendingCalls() const override;

private:
    class Session;

    std::function<std::string()> sessionIdSupplier() const;

    ServiceLink link_;
    /// Outlives the client in the services' suppliers.
    std::shared_ptr<Session> session_;
};

}  // namespace storage::kvxstore::services
