#pragma once

#include <string>
#include <vector>

#include "database/Connection.h"
#include "storage/kvxstore/Administration.h"

namespace storage::kvxstore::operations {

// What Store offers under the same names; see there.

std::string createUser(database::Connection& database, const NewUser& user, std::int64_t now);
std::vector<User> listUsers(database::Connection& database);
std::string renewToken(database::Connection& database, const std::u16string& user);
void setQuota(database::Connection& database, const std::u16string& user, unsigned long quota);
void removeUser(database::Connection& database, const std::u16string& name);
void createBucket(database::Connection& database, const std::u16string& name,
                  const std::u16string& owner, std::int64_t now);
std::vector<Bucket> listBuckets(database::Connection& database);
Statistics countAll(database::Connection& database);

}  // namespace storage::kvxstore::operations
