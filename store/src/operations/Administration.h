#pragma once

#include <string>
#include <vector>

#include "core/Context.h"
#include "storage/kvxstore/Administration.h"

namespace storage::kvxstore::operations {

// Store has members of the same names and describes them.

std::string createUser(const Context& context, const NewUser& user);
std::vector<User> listUsers(const Context& context);
std::string renewToken(const Context& context, const std::u16string& user);
void setQuota(const Context& context, const std::u16string& user, unsigned long quota);
void removeUser(const Context& context, const std::u16string& name);
void createBucket(const Context& context, const std::u16string& name, const std::u16string& owner);
std::vector<Bucket> listBuckets(const Context& context);
Statistics countAll(const Context& context);

/// Makes the next opening for writing give the store a new identity, so that it accepts no
/// watermark that was given out before.
void forgetIdentity(const Context& context);

}  // namespace storage::kvxstore::operations
