#pragma once

/// @file
/// The error of opening and administering a store.

#include <stdexcept>
#include <string>

#include "storage/kvxstore/Export.h"

namespace storage::kvxstore {

/// What went wrong, for programs; the message of the StoreError has the particulars, for people.
enum class StoreErrorCode {
    OTHER,           ///< None of the others.
    NOT_FOUND,       ///< There is no such store, folder to hold it, user or bucket.
    ALREADY_EXISTS,  ///< A store, file, user or bucket of that name exists.
    ILLEGAL_NAME,    ///< The name breaks the rules for names of users and buckets.
    ILLEGAL_URL,     ///< The URL is of no kind that this software opens.
    NOT_A_STORE,     ///< The file is something else.
    NEWER_VERSION,   ///< A newer version of this software made the store.
    DAMAGED,         ///< The store's file does not hold what it should.
    IN_USE,          ///< Another program kept the store locked for too long.
    FULL,            ///< The disk is full.
    NOT_WRITABLE,    ///< The file, its folder or its file system may not be written, or not read.
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
