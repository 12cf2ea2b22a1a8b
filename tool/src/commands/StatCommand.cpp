#include <iostream>
#include <utility>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

void printAttributes(const RemoteName& name, const kvxclient::FileAttributes& attributes) {
    const auto yesOrNo = [](bool value) { return value ? "yes" : "no"; };
    std::cout << "name:             " << shown(name.text()) << '\n'
              << "type:             " << readable(attributes.getType()) << '\n'
              << "size:             " << attributes.getSize() << '\n'
              << "created:          " << exactTime(attributes.getCreated()) << '\n'
              << "stored:           " << exactTime(attributes.getLastModified()) << '\n'
              << "modified:         " << exactTime(entryOf(attributes).modified) << '\n'
              << "access:           " << readable(toString(attributes.getAccessType())) << '\n'
              << "writable:         " << yesOrNo(attributes.getWritable()) << '\n'
              << "shareable:        " << yesOrNo(attributes.getShareable()) << '\n'
              << "shared folder:    " << yesOrNo(attributes.isSharedFolder()) << '\n'
              << "watermark:        " << shown(attributes.getWatermark()) << '\n';
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

void stat(const kvxclient::FileAccess& files, const RemoteName& name, bool json) {
    if (name.hasTrailingSlash()) {
        requireFolder(files, name);
    }
    kvxclient::FileAttributesReadRequest request(name.resource());
    request.withSharingMetadata(true);
    const auto response = files.readFileAttributes(std::move(request));
    if (json) {
        printJson(jsonOf(name, response.getFileAttributes()));
        return;
    }
    static bool first = true;
    std::cout << (std::exchange(first, false) ? "" : "\n");
    printAttributes(name, response.getFileAttributes());
}

}  // namespace

void addStat(CLI::App& program, Invocation& invocation) {
    addForEachName(program, invocation, "stat", "Show all attributes of files and folders",
                   [&](const Session& session, Diagnostics&, const RemoteName& name) {
                       stat(session.files(), name, invocation.json);
                   })
        ->footer(
            "Modified is when the content was made, as who put it said, or else when it was\n"
            "stored: the time that ls -l shows and get keeps. Shareable is a folder of yours: you\n"
            "can invite to it, while a file can only be granted.\n"
            "\n"
            "Examples:\n"
            "  kvx stat /docs/a.txt");
}

}  // namespace storage::kvxtool
