#pragma once

#include <exception>
#include <filesystem>
#include <vector>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"

namespace storage::kvxtool {

/// A local file and its counterpart in the store.
struct ContentPair {
    std::filesystem::path local;
    RemoteName remote;
    unsigned long size = 0;
    bool same = false;
    std::exception_ptr error = nullptr;  ///< Why they could not be compared.
};

/// Reads both files of each pair, `jobs` pairs at once and a few megabytes of each, and says
/// whether they have the same bytes.
void compareContents(const kvxclient::FileAccess& files, std::vector<ContentPair>& pairs,
                     std::size_t jobs);

}  // namespace storage::kvxtool
