#include "transfer/TransferReport.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "commands/Commands.h"
#include "ui/Json.h"
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

TransferOptions::Lines linesFor(const Invocation& invocation) {
    if (invocation.json) {
        return TransferOptions::Lines::JSON;
    }
    return invocation.verbose && !invocation.quiet ? TransferOptions::Lines::TEXT
                                                   : TransferOptions::Lines::NONE;
}

void addJobsOption(CLI::App& command, TransferOptions& options) {
    command
        .add_option(
            "-j,--jobs", options.jobs,
            "Small files on their way at once (default: 1024); pieces of a large one, up to 4")
        ->type_name("N")
        ->check(CLI::Range(1, 1024));
}

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
    if (lines_ == TransferOptions::Lines::NONE) {
        return;
    }
    static const bool terminal = isatty(STDOUT_FILENO) != 0;
    diagnostics_.progress().printAround([&] {
        if (lines_ == TransferOptions::Lines::JSON) {
            printJson({{"source", source}, {"target", target}, {"size", bytes}});
        } else if (terminal) {
            std::cout << escaped(source) << " -> " << escaped(target) << std::endl;
        } else {
            std::cout << source << " -> " << target << '\n';
        }
    });
}

void TransferReport::interrupted(const std::string& participle) {
    sayHowFar("interrupted", participle);
}

void TransferReport::end(const std::string& participle) {
    constexpr unsigned long FEW = 10;
    if (expectedFiles_ > files_ + FEW && !done_) {  // A sync has a summary of its own.
        sayHowFar("in all", participle);
    }
}

void TransferReport::sayHowFar(const char* subject, const std::string& participle) {
    diagnostics_.warn(subject, std::to_string(files_) + " of " + std::to_string(expectedFiles_) +
                                   (expectedFiles_ == 1 ? " file was " : " files were ") +
                                   participle + ", " + sizeText(bytes_));
}

}  // namespace storage::kvxtool
