#include "commands/Transferring.h"

#include <nlohmann/json.hpp>

#include "ui/Terminal.h"

namespace storage::kvxtool {

Option jobsOption() {
    return option(
               "-j,--jobs", "N",
               "Small files on their way at once (default: 1024); pieces of a large one, up to 4")
        .inRange(1, 1024);
}

TransferOptions transferOptions(const Session& session, Invocation& invocation) {
    TransferOptions options;
    if (invocation.has("--jobs")) {
        options.jobs = static_cast<std::size_t>(invocation.number("--jobs"));
    }
    options.storeFiles = session.storeFiles();
    options.done = [&out = invocation.out, &progress = invocation.diagnostics.progress()](
                       const std::string& source, const std::string& target, unsigned long size) {
        if (!out.isJson() && !out.isVerbose()) {
            return;
        }
        progress.printAround([&] {
            out.detail(
                [&] {
                    return Json{{"source", source}, {"target", target}, {"size", size}};
                },
                [&] { return shown(source) + " -> " + shown(target); });
        });
    };
    return options;
}

}  // namespace storage::kvxtool
