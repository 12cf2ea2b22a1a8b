#pragma once

#include <string>

#include "storage/kvxclient/Resource.h"

namespace storage::kvxtool {

/// The name of a file or folder in the store: a bucket, empty for the caller's own, and a path.
class RemoteName {
public:
    /// Whether an argument that may be local or remote is remote: it has a colon before its first
    /// slash.
    static bool isRemote(const std::string& argument);

    /// A hint to add where nothing has this name; empty unless it has wildcards.
    static std::string wildcardHint(const std::string& argument);

    enum class Form { ANY, WITH_COLON };

    /// Reads "bucket:/path", ":/path" or, where only a remote name can be meant, "/path". A bucket
    /// alone, "bucket:", is its root. Trailing slashes are removed and remembered. Throws Failure
    /// for anything else, and for what is not UTF-8.
    static RemoteName parse(const std::string& argument, Form form = Form::ANY);

    RemoteName child(const std::u16string& name) const;
    RemoteName parent() const;
    RemoteName inOwnBucket() const { return {u"", path_}; }

    /// The last segment of the path; empty for the root.
    std::u16string name() const;
    const std::u16string& path() const { return path_; }
    bool isRoot() const { return path_ == u"/"; }
    /// Whether it names no bucket, and so means the caller's own.
    bool isInOwnBucket() const { return bucket_.empty(); }
    /// Whether it was written with a trailing slash, and so can only mean a folder.
    bool hasTrailingSlash() const { return trailingSlash_; }

    kvxclient::Resource resource() const { return {path_, bucket_}; }
    /// As every command reads it: ":/path", or "bucket:/path".
    std::string text() const;

    /// Whether it names something below `folder`.
    bool isBelow(const RemoteName& folder) const;
    bool operator==(const RemoteName& other) const {
        return path_ == other.path_ && bucket_ == other.bucket_;
    }

private:
    RemoteName(std::u16string bucket, std::u16string path);

    std::u16string bucket_;
    std::u16string path_;
    bool trailingSlash_ = false;
};

}  // namespace storage::kvxtool
