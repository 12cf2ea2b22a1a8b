#include "storage/kvxclient/Resource.h"

#include <utility>

#include "core/Equality.h"
#include "core/PathEncoding.h"

namespace storage::kvxclient {

Resource::Resource() = default;

Resource::Resource(std::u16string path, std::u16string bucket)
    : path_(std::move(path)), bucket_(std::move(bucket)) {}

void Resource::setPath(std::u16string path) { path_ = std::move(path); }

void Resource::setBucket(std::u16string bucket) { bucket_ = std::move(bucket); }

std::u16string Resource::getPath() const { return path_; }

std::u16string Resource::getBucket() const { return bucket_; }

std::string Resource::getUTF8Bucket() const { return detail::toUtf8(bucket_); }

std::string Resource::getAsciiPercentEncodedPath() const { return detail::percentEncode(path_); }

bool Resource::operator==(const Resource& other) const {
    return detail::equal(*this, other, &Resource::path_, &Resource::bucket_);
}

}  // namespace storage::kvxclient
