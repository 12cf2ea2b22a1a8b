#include "transfer/TransferReport.h"

#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// "512 bytes", "3.4 MiB".
std::string sizeText(unsigned long bytes) {
    std::string text = humanSize(bytes);
    if (bytes < 1024) {
        return text + (bytes == 1 ? " byte" : " bytes");
    }
    text.insert(text.size() - 1, 1, ' ');
    return text + "iB";
}

}  // namespace

void TransferReport::expect(unsigned long bytes) {
    ++expectedFiles_;
    expectedBytes_ += bytes;
}

void TransferReport::begin() { diagnostics_.progress().begin(expectedBytes_, expectedFiles_); }

void TransferReport::done(const std::string& source, const std::string& target,
                          unsigned long bytes) {
    ++files_;
    bytes_ += bytes;
    if (done_) {
        done_(source, target, bytes);
    }
}

void TransferReport::interrupted(const std::string& participle) {
    sayHowFar("interrupted", participle);
}

void TransferReport::end(const std::string& participle) {
    diagnostics_.progress().end();
    constexpr unsigned long FEW = 10;
    if (expectedFiles_ > files_ + FEW && !hasSummary_) {
        sayHowFar("in all", participle);
    }
}

void TransferReport::sayHowFar(const char* subject, const std::string& participle) {
    diagnostics_.warn(subject, std::to_string(files_) + " of " + std::to_string(expectedFiles_) +
                                   (expectedFiles_ == 1 ? " file was " : " files were ") +
                                   participle + ", " + sizeText(bytes_));
}

}  // namespace storage::kvxtool
