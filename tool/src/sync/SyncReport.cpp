#include "sync/SyncReport.h"

#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

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
    const auto object = [&] {
        Json fields{{"action", action}, {"path", name}, {"size", bytes}};
        if (dryRun_) {
            fields["dryRun"] = true;
        }
        return fields;
    };
    const auto text = [&] { return std::string(action) + ' ' + escaped(name); };
    diagnostics_.progress().printAround(
        [&] { dryRun_ ? out_.print(object, text) : out_.detail(object, text); });
}

void SyncReport::end(std::size_t unchanged) {
    const std::size_t failed = diagnostics_.failures() - failuresBefore_;
    const bool idle = transferred_ + created_ + deleted_ == 0;
    if (idle && !std::exchange(first_, false)) {
        return;
    }
    const Json object{{"action", "summary"}, {"files", transferred_}, {"size", bytes_},
                      {"folders", created_}, {"deleted", deleted_},   {"unchanged", unchanged},
                      {"failed", failed},    {"dryRun", dryRun_}};
    const std::string text = summary(unchanged, failed);
    dryRun_ ? out_.print(object, text) : out_.remark(object, text);
}

/// "12 files sent, 3 deleted, 40 unchanged"
std::string SyncReport::summary(std::size_t unchanged, std::size_t failed) const {
    const char* const to = dryRun_ ? "to " : "";
    std::ostringstream text;
    text << transferred_ << (transferred_ == 1 ? " file " : " files ") << to
         << (up_ ? (dryRun_ ? "send" : "sent") : (dryRun_ ? "receive" : "received"));
    if (created_ != 0) {
        text << ", " << created_ << (created_ == 1 ? " folder " : " folders ") << to
             << (dryRun_ ? "create" : "created");
    }
    text << ", " << deleted_ << ' ' << to << (dryRun_ ? "delete" : "deleted") << ", " << unchanged
         << " unchanged";
    if (failed != 0) {
        text << ", " << failed << " failed";
    }
    return text.str();
}

}  // namespace storage::kvxtool
