#include "operations/Operations.h"

#include <algorithm>
#include <limits>

#include "core/Secrets.h"
#include "core/Text.h"
#include "maintenance/Leases.h"
#include "namespace/Caller.h"
#include "namespace/ContentReading.h"
#include "namespace/FileVersions.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

// A handle is a secret of the user who opened it. The user may read through it, whatever happens to
// the file and to their right to it, until it is closed, until their last session ends or until the
// program that opened it has been gone for a minute. The resource of a request
// with a handle is ignored.

namespace {

using database::Blob;
using database::FreeText;

struct Handle {
    std::string hash;
    std::int64_t owner = 0;
    /// The bucket in which the bytes of the work content count.
    std::int64_t bucket = 0;
    /// The file, or 0 for one that the commit creates in the folder `parent`.
    std::int64_t node = 0;
    std::int64_t parent = 0;
    std::string name;
    /// The content that was opened, and the one with the changes; 0 for none.
    std::int64_t base = 0;
    std::int64_t work = 0;
    bool writable = false;
    /// Whether the commit is refused when its path is taken.
    bool exclusive = false;
    std::string contentType;
    /// Of the row of the base.
    std::int64_t checksum = 0;
};

/// Stores the handle and returns its new id. Refused with QUOTA_EXCEEDED when the user has as many
/// open as the options allow.
std::string insertHandle(const Context& context, const Handle& handle) {
    std::string id = newSecret();
    const std::string hash = hashOf(id);
    renewLease(context.database, context.instance, context.now());
    const bool inserted =
        context.database.execute(
            "insert into handles(hash, instance, owner, bucket, node, parent, name, base, work,"
            " writable, exclusive, content_type, checksum)"
            " select $1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12, $13"
            " where (select count(*) from handles where owner = $3) < $14",
            {Blob{hash}, context.instance, handle.owner, handle.bucket, handle.node, handle.parent,
             handle.name, handle.base, handle.work, static_cast<std::int64_t>(handle.writable),
             static_cast<std::int64_t>(handle.exclusive), FreeText{handle.contentType},
             handle.checksum, context.options.handleLimit}) > 0;
    if (!inserted) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
    return id;
}

Handle findHandle(const Context& context, const std::string& id) {
    const std::int64_t user = requireUser(context);
    std::string hash = hashOf(id);
    const auto row = context.database.query(
        "select owner, bucket, node, parent, name, base, work, writable, exclusive, content_type,"
        " checksum from handles where hash = $1 and owner = $2",
        {Blob{hash}, user});
    if (!row->next()) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    return {std::move(hash),      row->integer(0),      row->integer(1), row->integer(2),
            row->integer(3),      row->text(4),         row->integer(5), row->integer(6),
            row->integer(7) != 0, row->integer(8) != 0, row->text(9),    row->integer(10)};
}

/// Reads the row of a content of the handle. `expected` is its checksum, 0 for unknown.
Content readRow(const Context& context, const Handle& handle, std::int64_t id,
                std::int64_t expected) {
    Content content;
    content.id = id;
    content.type = handle.contentType;
    content.node = handle.node;
    const auto row =
        context.database.query("select size, stored, checksum from contents where id = $1", {id});
    if (!row->next()) {
        database::throwDamaged("an open content is missing");
    }
    content.size = row->integer(0);
    content.stored = row->integer(1);
    content.checksum = row->integer(2);
    requireRow(context, content, expected);
    return content;
}

/// Throws DAMAGED unless the base is what was opened, since a new checksum would cover for it.
void requireSoundBase(const Context& context, const Handle& handle) {
    if (handle.base != 0) {
        requireExtents(context, readRow(context, handle, handle.base, handle.checksum));
    }
}

/// The content that is read through the handle.
Content contentOf(const Context& context, const Handle& handle) {
    const bool changed = handle.work != 0;
    Content content = readRow(context, handle, changed ? handle.work : handle.base,
                              changed ? 0 : handle.checksum);
    content.base = changed ? handle.base : 0;
    return content;
}

/// Gives the handle a work content, unless it has one.
Content startWork(const Context& context, Handle& handle, Content content) {
    if (handle.work == 0) {
        requireSoundBase(context, handle);
        handle.work = newContent(context).id;
        context.database.execute("update handles set work = $2 where hash = $1",
                                 {Blob{handle.hash}, handle.work});
        content.id = handle.work;
        content.base = handle.base;
        content.stored = 0;
        content.checksum = 0;
    }
    return content;
}

/// The path that a commit writes to.
ResolvedPath targetOf(const Context& context, const Handle& handle) {
    if (handle.node != 0) {
        ResolvedPath path = resolveNode(context, handle.owner, handle.node);
        path.node(Right::WRITE);
        return path;
    }
    ResolvedPath path = resolveNode(context, handle.owner, handle.parent);
    if (path.chain.empty()) {
        refuse(ErrorCode::PARENT_RESOURCE_NOT_FOUND);
    }
    path.node(Right::WRITE);
    descend(context, path, handle.name);
    if (path.resource().getPath().size() > longestPath) {
        refuse(ErrorCode::ILLEGAL_PATH);  // The folder was moved to a longer path.
    }
    if (path.exists() && (handle.exclusive || path.node().kind != Kind::FILE)) {
        refuse(ErrorCode::CONFLICT);
    }
    return path;
}

void commit(const Context& context, const Handle& handle, bool createNewVersion) {
    const ResolvedPath path = targetOf(context, handle);
    Content content = contentOf(context, handle);
    requireSoundBase(context, handle);
    // First, because from here on the bytes count with the version.
    deleteHandle(context.database, handle.hash);
    sealContent(context, content);
    const auto same = findSameContent(context, path, content.size, [&](const Content& current) {
        return current.id != content.id && haveSameBytes(context, current, content);
    });
    if (same) {
        content.id = same->id;  // The content of the handle is garbage already.
        content.stored = same->stored;
    }
    const Node file = revise(context, path, content.size, createNewVersion, content.id);
    addVersion(context, file, content);
}

/// The current content of a file whose bytes are not needed: damage does not keep them.
Content findTruncated(const Context& context, const Node& file) {
    Content content;
    database::damageIn([&] { content = findVersion(context, file, {}, file.label); });
    return content;
}

/// The limit as a number that the database can store.
unsigned long sizeLimit(const Context& context) {
    constexpr unsigned long most = std::numeric_limits<std::int64_t>::max();
    return std::min(context.options.fileSizeLimit, most);
}

}  // namespace

FileHandleReadOnlyCreateResponse createReadOnlyFileHandle(
    const Context& context, const FileHandleReadOnlyCreateRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& file = path.node(Kind::FILE);
    const Content content =
        findVersion(context, file, request.getVersionId(), request.getVersionLabel());
    Handle handle;
    handle.owner = path.user;
    handle.bucket = file.bucket;
    handle.node = file.id;
    handle.base = content.id;
    handle.checksum = rowChecksumOf(content);
    handle.contentType = content.type;
    return FileHandleReadOnlyCreateResponse()
        .withFileHandleId(insertHandle(context, handle))
        .withFileSize(static_cast<unsigned long>(content.size));
}

/// Takes the same time for a file of any size. A new file appears with the commit.
FileHandleReadWriteCreateResponse createReadWriteFileHandle(
    const Context& context, const FileHandleReadWriteCreateRequest& request) {
    const FileCreateMode mode = request.getCreateMode();
    requireBetween(mode, FileCreateMode::CREATE, FileCreateMode::CREATE_OR_UPDATE);
    const ResolvedPath path = resolve(context, request.getResource());
    const bool creates = !path.exists();
    requireContentType(request.getContentType());
    Handle handle;
    handle.owner = path.user;
    handle.bucket = path.bucket.id;
    handle.writable = true;
    handle.contentType = request.getContentType();
    Content content;
    if (creates) {
        const Node& parent = path.parent();
        if (mode == FileCreateMode::UPDATE) {
            refuse(ErrorCode::RESOURCE_NOT_FOUND);
        }
        handle.parent = parent.id;
        handle.name = path.name();
        handle.exclusive = mode == FileCreateMode::CREATE;
    } else {
        const Node& file = path.node(Kind::FILE, Right::WRITE);
        if (mode == FileCreateMode::CREATE) {
            refuse(ErrorCode::CONFLICT);
        }
        content = request.getTruncate() ? findTruncated(context, file)
                                        : findVersion(context, file, {}, file.label);
        handle.node = file.id;
        handle.base = request.getTruncate() ? 0 : content.id;
        handle.checksum = rowChecksumOf(content);
        if (handle.contentType.empty()) {
            handle.contentType = content.type;
        }
    }
    context.database.requireWritable();
    // The work content makes the commit change something even if nothing is written.
    if (handle.base == 0 || handle.contentType != content.type) {
        requireSoundBase(context, handle);
        content = newContent(context, handle.base == 0 ? 0 : content.size);
        handle.work = content.id;
    }
    return FileHandleReadWriteCreateResponse()
        .withFileHandleId(insertHandle(context, handle))
        .withFileCreated(creates)
        .withFileSize(static_cast<unsigned long>(content.size));
}

FileContentReadResponse readFileContent(const Context& context,
                                        const FileContentReadRequest& request) {
    const Content content = contentOf(context, findHandle(context, request.getFileHandleId()));
    const auto size = static_cast<unsigned long>(content.size);
    const unsigned long start = std::min(request.getStartLocation(), size);
    const unsigned long length = std::min(request.getLength(), size - start);
    if (length > context.options.readLimit) {
        refuse(ErrorCode::FILE_TOO_LARGE);
    }
    FileContentReadResponse response;
    response.withStartLocation(request.getStartLocation())
        .withContentType(content.type)
        .withFileSize(size);
    readRange(context, content, static_cast<std::int64_t>(start), static_cast<std::int64_t>(length),
              [&](std::string_view bytes) { response.appendContent(bytes.data(), bytes.size()); });
    return response;
}

/// Written bytes count in the quota at once, in addition to what they will replace. Refused with
/// the code of a commit when the file, its folder or the right to change it is gone.
FileContentWriteResponse writeFileContent(const Context& context,
                                          const FileContentWriteRequest& request) {
    Handle handle = findHandle(context, request.getFileHandleId());
    if (!handle.writable) {
        refuse(ErrorCode::CONFLICT);
    }
    // Written bytes count in the quota of the owner, who may have taken the right back.
    targetOf(context, handle);
    Content content = contentOf(context, handle);
    const unsigned long size = request.getContentSize();
    const unsigned long start = request.getStartLocation();
    const unsigned long limit = sizeLimit(context);
    if (size > limit || start > limit - size) {
        refuse(ErrorCode::FILE_TOO_LARGE);
    }
    if (size > 0 && request.getContent() == nullptr) {
        refuse(ErrorCode::UNKNOWN);
    }
    if (size > 0) {
        content = startWork(context, handle, std::move(content));
        const std::int64_t before = content.stored;
        writeRange(context, content, static_cast<std::int64_t>(start),
                   {reinterpret_cast<const char*>(request.getContent()), size});
        reserve(context, handle.bucket, content.stored - before);
    }
    return FileContentWriteResponse().withFileSize(static_cast<unsigned long>(content.size));
}

/// The last commit wins: it replaces the content that the file has by then, wherever the file was
/// moved. A commit without changes changes nothing; another content type is a change. A refused
/// commit leaves the handle open: RESOURCE_NOT_FOUND when the file was deleted,
/// PARENT_RESOURCE_NOT_FOUND when the folder for a new file was deleted, and CONFLICT when the path
/// of a file that has to be new is taken.
FileHandleCloseResponse closeFileHandle(const Context& context,
                                        const FileHandleCloseRequest& request) {
    const auto operation = request.getOperation();
    requireBetween(operation, FileHandleCloseOperation::COMMIT_CHANGES,
                   FileHandleCloseOperation::ABORT_CHANGES);
    const Handle handle = findHandle(context, request.getFileHandleId());
    if (operation == FileHandleCloseOperation::COMMIT_CHANGES && handle.work != 0) {
        commit(context, handle, request.getCreateNewVersion());
    } else {
        deleteHandle(context.database, handle.hash);
    }
    return {};
}

}  // namespace storage::kvxstore::operations
