#include "PhotoBackup.h"

#include <algorithm>
#include <future>
#include <string_view>

namespace example {

using namespace storage::kvxclient;

namespace {

/// Thrown through run() by whatever notices that the backup is cancelled.
struct Cancelled {};

bool isTransient(KVXClientErrorCode code) {
    return code == KVXClientErrorCode::BAD_NETWORK ||
           code == KVXClientErrorCode::INTERNAL_SERVER_ERROR;
}

bool isOver(KVXClientErrorCode code) {
    return code == KVXClientErrorCode::SESSION_EXPIRED ||
           code == KVXClientErrorCode::INVALID_SESSION_ID;
}

/// "a.jpg" and 2 give "a (2).jpg".
std::u16string numbered(const std::u16string& name, unsigned number) {
    const std::size_t dot = std::min(name.rfind(u'.'), name.size());
    std::u16string digits;
    for (const char digit : std::to_string(number)) {
        digits += static_cast<char16_t>(digit);
    }
    return name.substr(0, dot) + u" (" + digits + u")" + name.substr(dot);
}

}  // namespace

PhotoBackup::PhotoBackup(KVXClient& client, Options options)
    : client_(client), options_(std::move(options)), files_(client.createFileAccess()) {}

BackupReport PhotoBackup::run(const std::vector<Photo>& photos) {
    BackupReport report;
    try {
        if (client_.getSessionId().empty()) {
            persist([this] { logIn(); });
        }
        persist([this] { makeFolder(); });
        for (const Photo& photo : photos) {
            try {
                backUp(photo, report);
            } catch (const KVXClientException& error) {
                report.failed.emplace_back(photo.name, error.getErrorCode());
                // No other photo would fare better.
                if (isTransient(error.getErrorCode()) ||
                    error.getErrorCode() == Code::QUOTA_EXCEEDED) {
                    return report;
                }
            }
        }
    } catch (const Cancelled&) {
        report.isCancelled = true;
    }
    return report;
}

void PhotoBackup::cancel() {
    isCancelled_ = true;
    client_.cancelPendingCalls();
}

void PhotoBackup::persist(const std::function<void()>& calls) {
    auto pause = std::chrono::milliseconds(100);
    for (unsigned attempt = 1;; ++attempt) {
        if (isCancelled_) {
            throw Cancelled();
        }
        Code code = Code::BAD_NETWORK;
        try {
            return calls();
        } catch (const KVXClientException& error) {
            code = error.getErrorCode();
        } catch (const std::future_error&) {
            // The answer is lost: the call may have taken effect, and is made again.
        }
        if (isCancelled_) {
            throw Cancelled();
        }
        if ((!isTransient(code) && !isOver(code)) || attempt == options_.attempts) {
            throw KVXClientException(code);
        }
        if (isOver(code)) {
            persist([this] { logIn(); });
        } else {
            options_.wait(pause);
            pause *= 2;
        }
    }
}

void PhotoBackup::logIn() {
    client_.withSessionId(client_.login(LoginRequest().withToken(options_.token)).getSessionId());
}

void PhotoBackup::makeFolder() {
    try {
        files_->createFolder(FolderCreateRequest(options_.folder));
    } catch (const KVXClientException& error) {
        if (error.getErrorCode() != Code::CONFLICT) {  // It is there already.
            throw;
        }
    }
}

void PhotoBackup::backUp(const Photo& photo, BackupReport& report) {
    std::u16string name = photo.name;
    for (unsigned number = 2;; ++number) {
        Stored stored = Stored::NEW;
        persist([&] { stored = store(placeOf(name), photo.content); });
        if (stored != Stored::TAKEN) {
            ++(stored == Stored::NEW ? report.stored : report.alreadyThere);
            if (name != photo.name) {
                report.renamed.emplace_back(photo.name, name);
            }
            return;
        }
        name = numbered(photo.name, number);
    }
}

PhotoBackup::Stored PhotoBackup::store(const Resource& place, const std::string& content) {
    try {
        upload(place, content);
        return Stored::NEW;
    } catch (const KVXClientException& error) {
        if (error.getErrorCode() != Code::CONFLICT) {
            throw;
        }
    }
    // Perhaps an earlier attempt stored it, and only its answer was lost.
    const auto there = files_->readFile(place).getResponseBody();
    return std::equal(there.begin(), there.end(), content.begin(), content.end()) ? Stored::SAME
                                                                                  : Stored::TAKEN;
}

void PhotoBackup::upload(const Resource& place, const std::string& content) const {
    const std::string handle =
        files_
            ->createReadWriteFileHandle(
                FileHandleReadWriteCreateRequest(place).withCreateMode(FileCreateMode::CREATE))
            .getFileHandleId();
    const auto* bytes = reinterpret_cast<const unsigned char*>(content.data());
    constexpr std::size_t block = 4UL << 20U;
    for (std::size_t at = 0; at < content.size(); at += block) {
        files_->writeFileContent(
            FileContentWriteRequest(place)
                .withFileHandleId(handle)
                .withStartLocation(at)
                .withContent(bytes + at, std::min(block, content.size() - at)));
    }
    files_->closeFileHandle(FileHandleCloseRequest(place).withFileHandleId(handle));
}

Resource PhotoBackup::placeOf(const std::u16string& name) const {
    return Resource(options_.folder.getPath() + u"/" + name, options_.folder.getBucket());
}

}  // namespace example
