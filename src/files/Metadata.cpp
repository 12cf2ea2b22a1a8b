#include "storage/kvxclient/Metadata.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

SetMetadataRequest::SetMetadataRequest(Resource resource) : resource_(std::move(resource)) {}

Resource SetMetadataRequest::getResource() const { return resource_; }

SetMetadataRequest& SetMetadataRequest::withClientLastModified(
    std::chrono::system_clock::time_point clientLastModified) {
    clientLastModified_ = clientLastModified;
    return *this;
}

std::chrono::system_clock::time_point SetMetadataRequest::getClientLastModified() const {
    return clientLastModified_;
}

std::string SetMetadataRequest::getXMLFormattedMetadata() const {
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(
        clientLastModified_.time_since_epoch());
    return "<FileSystemMetadata>\n<ClientLastModified>" + std::to_string(milliseconds.count()) +
           "</ClientLastModified>\n</FileSystemMetadata>";
}

bool SetMetadataRequest::operator==(const SetMetadataRequest& other) const {
    return detail::equal(*this, other, &SetMetadataRequest::resource_,
                         &SetMetadataRequest::clientLastModified_);
}

SetMetadataResponse::SetMetadataResponse() = default;

bool SetMetadataResponse::operator==(const SetMetadataResponse& other) const {
    return this == &other;
}

}  // namespace storage::kvxclient
