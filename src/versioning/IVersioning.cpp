#include "storage/kvxclient/IVersioning.h"

#include <utility>

#include "core/AsyncCall.h"

namespace storage::kvxclient {

IVersioning::~IVersioning() = default;

std::future<VersionListResponse> IVersioning::listVersionsAsync(VersionListRequest request) const {
    return detail::callCopying(*this, &IVersioning::listVersions, std::move(request));
}

VersionListResponse IVersioning::listVersions(VersionListRequest request) const {
    return listVersionsAsync(std::move(request)).get();
}

std::future<VersionRestoreResponse> IVersioning::restoreVersionAsync(
    VersionRestoreRequest request) const {
    return detail::callCopying(*this, &IVersioning::restoreVersion, std::move(request));
}

VersionRestoreResponse IVersioning::restoreVersion(VersionRestoreRequest request) const {
    return restoreVersionAsync(std::move(request)).get();
}

}  // namespace storage::kvxclient
