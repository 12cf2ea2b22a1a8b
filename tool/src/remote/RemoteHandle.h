#pragma once

#include <future>
#include <string>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"

namespace storage::kvxtool {

/// A file of the store, open for reading or writing ranges. What was written and not committed is
/// discarded in the end.
class RemoteHandle {
public:
    /// The most that goes through it in one call.
    static constexpr std::size_t RANGE_SIZE = std::size_t{4} << 20U;
    /// How many calls through one handle keep the store busy.
    static constexpr std::size_t RANGES_AT_ONCE = 4;

    /// Opens a file, or one of its versions where `versionId` is not empty, for reading.
    RemoteHandle(const kvxclient::FileAccess& files, const RemoteName& name,
                 const std::string& versionId);
    /// Opens a file for new content, whether it exists or not.
    RemoteHandle(const kvxclient::FileAccess& files, const RemoteName& name);
    /// Every call must have ended.
    ~RemoteHandle();

    RemoteHandle(const RemoteHandle&) = delete;
    RemoteHandle& operator=(const RemoteHandle&) = delete;

    /// The size of the file as it was opened for reading.
    unsigned long size() const { return size_; }
    std::future<kvxclient::FileContentReadResponse> read(unsigned long start,
                                                         unsigned long size) const;
    /// `data` must stay as it is until the call has ended.
    std::future<kvxclient::FileContentWriteResponse> write(unsigned long start, const char* data,
                                                           unsigned long size) const;
    /// Makes what was written the content of the file, and where the version policy says so keeps
    /// the old one as a version.
    void commit();

private:
    void close(kvxclient::FileHandleCloseOperation operation);

    const kvxclient::FileAccess& files_;
    kvxclient::Resource resource_;
    std::string id_;
    unsigned long size_ = 0;
};

}  // namespace storage::kvxtool
