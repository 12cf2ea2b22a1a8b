#pragma once

/// @file
/// The error of opening and administering a store.

#include <stdexcept>
#include <string>

#include "storage/kvxstore/Export.h"

namespace storage::kvxstore {

/// The kind of failure, for programs. The message of the StoreError has the details, for people.
enum class StoreErrorCode {
    OTHER,           ///< None of the others.
    NOT_FOUND,       ///< The store, the folder that would hold it, the user or the bucket does not
                     ///< exist.
    ALREADY_EXISTS,  ///< A file, user or bucket of that name exists.
    ILLEGAL_NAME,    ///< The name breaks the rules for names of users and buckets.
    ILLEGAL_URL,     ///< This software opens no URL of that kind.
    NOT_A_STORE,     ///< The file is something else, or a folder.
    NEWER_VERSION,   ///< A newer version of this software made the store.
    DAMAGED,         ///< The store's file does not contain what it should.
    IN_USE,          ///< Another program kept the store locked for StoreOptions::lockPatience, or
                     ///< a migration into it has not ended.
    FULL,            ///< The disk is full.
    NOT_WRITABLE,    ///< The file, its folder or its file system may not be written, or not read.
    FILE_CHANGED,    ///< The file was deleted, moved, replaced, cut, overwritten or hard-linked.
};

/// Why a store could not be opened or administered; what() is a plain sentence for people.
class KVXSTORE_EXPORT StoreError : public std::runtime_error {
public:
    /// An error with the code OTHER.
    explicit StoreError(const std::string& message) : StoreError(StoreErrorCode::OTHER, message) {}
    /// An error with a code, and the sentence for people.
    StoreError(StoreErrorCode code, const std::string& message)
        : std::runtime_error(message), code_(code) {}
    ~StoreError() override;

    /// What went wrong.
    StoreErrorCode code() const { return code_; }

private:
    StoreErrorCode code_;
};

}  // namespace storage::kvxstore
