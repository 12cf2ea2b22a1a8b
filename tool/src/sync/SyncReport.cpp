#include "sync/SyncReport.h"

#include <iostream>
#include <utility>

#include "ui/Json.h"
#include "ui/Text.h"

namespace storage::kvxtool {

void SyncReport::begin() {
    failuresBefore_ = diagnostics_.failures();
    transferred_ = created_ = deleted_ = 0;
    bytes_ = 0;
}

void SyncReport::deleted(const SyncStep& step) {
    ++deleted_;
    print("delete", step.path, step.entry.size);
}

void SyncReport::created(const SyncStep& step) {
    ++created_;
    print("mkdir", step.path, 0);
}

void SyncReport::transferred(const std::string& path, unsigned long bytes) {
    ++transferred_;
    bytes_ += bytes;
    print(up_ ? "put" : "get", path, bytes);
}

void SyncReport::print(const char* action, const std::string& path, unsigned long bytes) {
    const std::string name = path.empty() ? "." : path;
    diagnostics_.progress().printAround([&] {
        if (lines_ == Lines::JSON) {
            Json object{{"action", action}, {"path", name}, {"size", bytes}};
            if (dryRun_) {
                object["dryRun"] = true;
            }
            printJson(object);
        } else if (lines_ == Lines::ACTIONS) {
            std::cout << action << ' ' << escaped(name) << '\n';
        }
    });
}

void SyncReport::end(std::size_t unchanged) {
    const std::size_t failed = diagnostics_.failures() - failuresBefore_;
    const bool idle = transferred_ + created_ + deleted_ == 0;
    if (idle && !std::exchange(first_, false)) {
        return;
    }
    if (lines_ == Lines::JSON) {
        Json object{{"action", "summary"}, {"files", transferred_}, {"size", bytes_},
                    {"folders", created_}, {"deleted", deleted_},   {"unchanged", unchanged},
                    {"failed", failed},    {"dryRun", dryRun_}};
        printJson(object);
    } else if (lines_ != Lines::NONE) {
        printSummary(unchanged, failed);
    }
}

/// "12 files sent, 3 deleted, 40 unchanged"
void SyncReport::printSummary(std::size_t unchanged, std::size_t failed) const {
    const std::string to = dryRun_ ? "to " : "";
    const char* transferred =
        up_ ? (dryRun_ ? "send" : "sent") : (dryRun_ ? "receive" : "received");
    std::cout << transferred_ << (transferred_ == 1 ? " file " : " files ") << to << transferred;
    if (created_ != 0) {
        std::cout << ", " << created_ << (created_ == 1 ? " folder " : " folders ") << to
                  << (dryRun_ ? "create" : "created");
    }
    std::cout << ", " << deleted_ << ' ' << to << (dryRun_ ? "delete" : "deleted") << ", "
              << unchanged << " unchanged";
    if (failed != 0) {
        std::cout << ", " << failed << " failed";
    }
    std::cout << '\n';
}

}  // namespace storage::kvxtool
