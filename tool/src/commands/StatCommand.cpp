#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

std::string attributesText(const RemoteName& name, const kvxclient::FileAttributes& attributes) {
    const auto yesOrNo = [](bool value) { return value ? "yes" : "no"; };
    const std::pair<const char*, std::string> lines[] = {
        {"name:", shown(name.text())},
        {"type:", readable(attributes.getType())},
        {"size:", std::to_string(attributes.getSize())},
        {"created:", exactTime(attributes.getCreated())},
        {"stored:", exactTime(attributes.getLastModified())},
        {"modified:", exactTime(entryOf(attributes).modified)},
        {"access:", readable(toString(attributes.getAccessType()))},
        {"writable:", yesOrNo(attributes.getWritable())},
        {"shareable:", yesOrNo(attributes.getShareable())},
        {"shared folder:", yesOrNo(attributes.isSharedFolder())},
        {"watermark:", shown(attributes.getWatermark())}};
    static bool first = true;
    std::ostringstream text;
    const char* separator = std::exchange(first, false) ? "" : "\n";
    for (const auto& [label, value] : lines) {
        text << std::exchange(separator, "\n") << std::setw(18) << std::left << label << value;
    }
    return text.str();
}

Json jsonOf(const RemoteName& name, const kvxclient::FileAttributes& attributes) {
    Json object = jsonOf(name, entryOf(attributes));
    object["created"] = utcTime(attributes.getCreated());
    object["stored"] = utcTime(attributes.getLastModified());
    object["access"] = toString(attributes.getAccessType());
    object["shareable"] = attributes.getShareable();
    object["sharedFolder"] = attributes.isSharedFolder();
    object["watermark"] = attributes.getWatermark();
    return object;
}

void stat(const Session& session, Invocation& invocation, const RemoteName& name) {
    kvxclient::FileAttributesReadRequest request(name.resource());
    request.withSharingMetadata(true);
    const kvxclient::FileAttributes attributes =
        session.files().readFileAttributes(std::move(request)).getFileAttributes();
    requireKind(name, entryOf(attributes));
    invocation.out.print([&] { return jsonOf(name, attributes); },
                         [&] { return attributesText(name, attributes); });
}

}  // namespace

Command statCommand() {
    return {
        .name = "stat",
        .summary = "Show all attributes of files and folders",
        .group = "Files",
        .options = {remoteNames()},
        .notes =
            R"(Modified is the time of the content as the program that put it reported it, or else the time
when it was stored: ls -l shows it and get keeps it. A folder of yours is shareable: you can
invite others to it. A file can only be granted.)",
        .examples = {"kvx stat /docs/a.txt"},
        .run = forEachRemoteName(stat)};
}

}  // namespace storage::kvxtool
