#pragma once

#include <functional>
#include <string>

#include "storage/kvxclient/Invitations.h"
#include "ui/Output.h"

namespace storage::kvxtool {

std::string nameOf(const kvxclient::Resource& resource);
std::string nameOf(const kvxclient::UserProfile& user);

/// The folder that an invitation offers; empty once the folder is deleted.
std::string folderOf(const kvxclient::Invitation& invitation);

Json jsonOf(const kvxclient::Invitation& invitation);

/// Calls `action`, and says so where there is no invitation with this id or, with `hasFolder`, no
/// such folder in it.
void explainMissing(const std::string& id, bool hasFolder, const std::function<void()>& action);

}  // namespace storage::kvxtool
