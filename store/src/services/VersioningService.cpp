#include "services/VersioningService.h"

#include "operations/Operations.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

VersioningService::VersioningService(std::function<std::string()> sessionIdSupplier,
                                     ServiceLink link)
    : sessionIdSupplier_(std::move(sessionIdSupplier)), link_(std::move(link)) {}

void VersioningService::listVersions(VersionListRequest request,
                                     CompletionHandler<VersionListResponse> handler) const {
    link_.serve(Operation{"listVersions", operations::listVersions, Access::READ},
                sessionIdSupplier_(), std::move(request), std::move(handler));
}

void VersioningService::restoreVersion(VersionRestoreRequest request,
                                       CompletionHandler<VersionRestoreResponse> handler) const {
    link_.serve(Operation{"restoreVersion", operations::restoreVersion, Access::WRITE},
                sessionIdSupplier_(), std::move(request), std::move(handler));
}

}  // namespace storage::kvxstore::services
