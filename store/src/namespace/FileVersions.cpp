#include "namespace/FileVersions.h"

#include <cstdlib>
#include <utility>

#include "namespace/Charges.h"
#include "namespace/ContentReading.h"
#include "namespace/Policies.h"
#include "namespace/Usage.h"

namespace storage::kvxstore {

namespace {

constexpr std::int64_t noLabel = -1;

/// Removes the version with the file's label, whose bytes are already off those in use.
void dropVersion(const Context& context, const Node& file, std::int64_t kept) {
    const std::int64_t charged =
        discardVersions(context.database, file.id, file.bucket, {file.label, file.label}, kept);
    if (charged > 0) {
        reserve(context, file.bucket, charged);
    }
}

Node newFile(const ResolvedPath& path) {
    Node file;
    file.parent = path.parent().id;
    file.bucket = path.bucket.id;
    file.name = path.name();
    file.kind = Kind::FILE;
    file.right = path.parent().right;
    return file;
}

bool keepsVersions(const Context& context, const ResolvedPath& path) {
    return effectivePolicy(context, path).getVersionPolicy() != VersionPolicy::DISABLED;
}

void updateFile(const Context& context, const Node& file) {
    context.database.post(
        "update nodes set seq = $2, size = $3, label = $4, modified = $5, client_modified = 0"
        " where id = $1",
        {file.id, file.seq, file.size, file.label, file.modified});
}

}  // namespace

std::string versionIdOf(const Node& file) {
    return std::to_string(file.id) + '-' + std::to_string(file.label);
}

Content findVersion(const Context& context, const Node& file, const std::string& versionId,
                    std::int64_t label) {
    Node version = file;
    const std::string ownIds = std::to_string(file.id) + '-';
    if (label != noLabel) {
        version.label = label;
    } else if (versionId.starts_with(ownIds)) {
        version.label = std::strtol(versionId.c_str() + ownIds.size(), nullptr, 10);
    }
    const auto row = context.database.query(
        "select c.id, c.size, c.stored, c.checksum, v.content_type, v.checksum from versions v"
        " left join contents c on c.id = v.content where v.node = $1 and v.label = $2",
        {version.id, version.label});
    // Comparing the whole id refuses every malformed or contradicting one.
    if (!versionId.empty() && versionId != versionIdOf(version)) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    const bool exists = row->next();
    if (exists ? row->integer(0) == 0 : version.label == file.label) {
        Content missing;
        missing.node = version.id;
        missing.label = version.label;
        throwDamagedContent(context, missing, "it is missing");
    }
    if (!exists) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    const Content content{row->integer(0), row->integer(1), row->integer(2),
                          row->integer(3), row->text(4),    0,
                          version.id,      version.label};
    requireRow(context, content, row->integer(5));
    if (version.label == file.label && content.size != file.size) {
        throwDamagedContent(context, content, "the file is said to have another size");
    }
    return content;
}

std::optional<Content> findSameContent(const Context& context, const ResolvedPath& path,
                                       std::int64_t size,
                                       const std::function<bool(const Content&)>& isSame) {
    if (!path.exists() || path.node().kind != Kind::FILE || path.node().size != size) {
        return std::nullopt;
    }
    std::optional<Content> same;
    database::damageIn([&] {
        Content current = findVersion(context, path.node(), {}, path.node().label);
        if (isSame(current)) {
            same = std::move(current);
        }
    });
    return same;
}

Node revise(const Context& context, const ResolvedPath& path, std::int64_t size,
            bool createNewVersion, std::int64_t kept) {
    const bool replaces = path.exists();
    Node file = replaces ? path.node(Kind::FILE, Right::WRITE) : newFile(path);
    const bool keepsOld = replaces && createNewVersion && keepsVersions(context, path);
    file.seq = advanceFile(context, file.bucket, size - (keepsOld ? 0 : file.size));
    if (replaces && !keepsOld) {
        dropVersion(context, file, kept);
    }
    file.size = size;
    file.label += 1;
    file.modified = context.now();
    // The client's time belonged to the content that is replaced.
    file.clientModified = 0;
    if (replaces) {
        updateFile(context, file);
    } else {
        file.created = file.modified;
        insertNode(context, file);
    }
    return file;
}

void addVersion(const Context& context, const Node& file, const Content& content) {
    context.database.post(
        "insert into versions(node, label, content, content_type, created, checksum)"
        " values($1, $2, $3, $4, $5, $6)",
        {file.id, file.label, content.id, database::FreeText{content.type}, file.modified,
         rowChecksumOf(content)});
}

}  // namespace storage::kvxstore
