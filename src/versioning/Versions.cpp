#include "storage/kvxclient/Versions.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

VersionListRequest::VersionListRequest(Resource resource) : resource_(std::move(resource)) {}

Resource VersionListRequest::getResource() const { return resource_; }

bool VersionListRequest::operator==(const VersionListRequest& other) const {
    return detail::equal(*this, other, &VersionListRequest::resource_);
}

VersionSummary::VersionSummary() = default;

VersionSummary& VersionSummary::withVersionId(std::string versionId) {
    versionId_ = std::move(versionId);
    return *this;
}

std::string VersionSummary::getVersionId() const { return versionId_; }

VersionSummary& VersionSummary::withCreated(std::chrono::system_clock::time_point created) {
    created_ = created;
    return *this;
}

std::chrono::system_clock::time_point VersionSummary::getCreated() const { return created_; }

VersionSummary& VersionSummary::withVersionLabel(int versionLabel) {
    versionLabel_ = versionLabel;
    return *this;
}

int VersionSummary::getVersionLabel() const { return versionLabel_; }

bool VersionSummary::operator==(const VersionSummary& other) const {
    return detail::equal(*this, other, &VersionSummary::versionId_, &VersionSummary::created_,
                         &VersionSummary::versionLabel_);
}

VersionListResponse::VersionListResponse() = default;

VersionListResponse& VersionListResponse::withName(std::u16string name) {
    name_ = std::move(name);
    return *this;
}

std::u16string VersionListResponse::getName() const { return name_; }

VersionListResponse& VersionListResponse::withVersions(std::vector<VersionSummary> versions) {
    versions_ = std::move(versions);
    return *this;
}

std::vector<VersionSummary> VersionListResponse::getVersions() const { return versions_; }

bool VersionListResponse::operator==(const VersionListResponse& other) const {
    return detail::equal(*this, other, &VersionListResponse::name_,
                         &VersionListResponse::versions_);
}

VersionRestoreRequest::VersionRestoreRequest(Resource resource) : resource_(std::move(resource)) {}

Resource VersionRestoreRequest::getResource() const { return resource_; }

VersionRestoreRequest& VersionRestoreRequest::withVersionId(std::string versionId) {
    versionId_ = std::move(versionId);
    return *this;
}

std::string VersionRestoreRequest::getVersionId() const { return versionId_; }

VersionRestoreRequest& VersionRestoreRequest::withVersionLabel(int versionLabel) {
    versionLabel_ = versionLabel;
    return *this;
}

int VersionRestoreRequest::getVersionLabel() const { return versionLabel_; }

VersionRestoreRequest& VersionRestoreRequest::withCreateNewVersion(bool createNewVersion) {
    createNewVersion_ = createNewVersion;
    return *this;
}

bool VersionRestoreRequest::getCreateNewVersion() const { return createNewVersion_; }

bool VersionRestoreRequest::operator==(const VersionRestoreRequest& other) const {
    return detail::equal(*this, other, &VersionRestoreRequest::resource_,
                         &VersionRestoreRequest::versionId_, &VersionRestoreRequest::versionLabel_,
                         &VersionRestoreRequest::createNewVersion_);
}

VersionRestoreResponse::VersionRestoreResponse() = default;

VersionRestoreResponse& VersionRestoreResponse::withVersionId(std::string versionId) {
    versionId_ = std::move(versionId);
    return *this;
}

std::string VersionRestoreResponse::getVersionId() const { return versionId_; }

VersionRestoreResponse& VersionRestoreResponse::withVersionLabel(int versionLabel) {
    versionLabel_ = versionLabel;
    return *this;
}

int VersionRestoreResponse::getVersionLabel() const { return versionLabel_; }

bool VersionRestoreResponse::operator==(const VersionRestoreResponse& other) const {
    return detail::equal(*this, other, &VersionRestoreResponse::versionId_,
                         &VersionRestoreResponse::versionLabel_);
}

}  // namespace storage::kvxclient
