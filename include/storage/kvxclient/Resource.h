#pragma once

/// @file
/// The name of a file or folder.

#include <string>

#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

class ResourceAndFolderList;

/// Names one file or folder: the bucket that holds it and its path inside that bucket.
///
/// A plain value. Neither string is checked: the service decides which paths and buckets are legal.
/// Several threads may use distinct objects at once.
class KVXCLIENT_EXPORT Resource {
public:
    /// Makes a resource with an empty path and an empty bucket.
    Resource();
    /// Makes a resource from its path and its bucket: the path comes first.
    Resource(std::u16string path, std::u16string bucket);

    /// Sets the path inside the bucket.
    void setPath(std::u16string path);
    /// Sets the bucket.
    void setBucket(std::u16string bucket);
    /// Returns the path inside the bucket, as it was given. Default: empty.
    std::u16string getPath() const;
    /// Returns the bucket, as it was given. Default: empty.
    std::u16string getBucket() const;

    /// Returns the bucket as UTF-8. An unpaired surrogate becomes U+FFFD.
    std::string getUTF8Bucket() const;

    /// Returns the path as UTF-8 with every byte except ASCII letters, digits, "." and "/" written
    /// as "%" and two upper-case hexadecimal digits.
    ///
    /// The result depends on no locale. An unpaired surrogate becomes U+FFFD ("%EF%BF%BD").
    /// Computed on each call.
    std::string getAsciiPercentEncodedPath() const;

    /// Compares path and bucket, code unit by code unit: no case folding, no normalisation.
    bool operator==(const Resource& other) const;

private:
    friend class ResourceAndFolderList;  // Orders listings by path without copying it.

    std::u16string path_;
    std::u16string bucket_;
};

}  // namespace storage::kvxclient
