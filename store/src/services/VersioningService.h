#pragma once

#include "services/ServiceLink.h"
#include "storage/kvxclient/IVersioning.h"

namespace storage::kvxstore::services {

class VersioningService final : public kvxclient::IVersioning {
public:
    VersioningService(std::function<std::string()> sessionIdSupplier, ServiceLink link);

    // The future and blocking forms that it inherits.
    using IVersioning::listVersions;
    using IVersioning::restoreVersion;

    void listVersions(
        kvxclient::VersionListRequest request,
        kvxclient::CompletionHandler<kvxclient::VersionListResponse> handler) const override;
    void restoreVersion(
        kvxclient::VersionRestoreRequest request,
        kvxclient::CompletionHandler<kvxclient::VersionRestoreResponse> handler) const override;

private:
    std::function<std::string()> sessionIdSupplier_;
    ServiceLink link_;
};

}  // namespace storage::kvxstore::services
