#include "operations/Handles.h"

#include <algorithm>
#include <limits>

#include "core/Secrets.h"
#include "core/Text.h"
#include "maintenance/Leases.h"
#include "namespace/Caller.h"
#include "namespace/FileVersions.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

namespace {

using database::Blob;
using kvxclient::FileCreateMode;
using kvxclient::KVXClientErrorCode;

struct Handle {
    std::string hash;
    std::int64_t owner = 0;
    /// Where the bytes of the work content count.
    std::int64_t bucket = 0;
    /// The file; 0 when it is yet to be created in the folder `parent`.
    std::int64_t node = 0;
    std::int64_t parent = 0;
    std::string name;
    /// The contents as they were opened, and with changes: 0 for none.
    std::int64_t base = 0;
    std::int64_t work = 0;
    bool writable = false;
    /// Whether no other file may have been created meanwhile.
    bool exclusive = false;
    std::string contentType;
};

/// Stores the handle under a new id, which it returns.
std::string insertHandle(const Context& context, const Handle& handle) {
    std::string id = newSecret();
    const std::string hash = hashOf(id);
    renewLease(context.database, context.instance, context.now());
    context.database.execute(
        "insert into handles(hash, instance, owner, bucket, node, parent, name, base, work,"
        " writable, exclusive, content_type)"
        " values($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12)",
        {Blob{hash}, context.instance, handle.owner, handle.bucket, handle.node, handle.parent,
         handle.name, handle.base, handle.work, static_cast<std::int64_t>(handle.writable),
         static_cast<std::int64_t>(handle.exclusive), handle.contentType});
    return id;
}

Handle findHandle(const Context& context, const std::string& id) {
    const std::int64_t user = requireUser(context);
    std::string hash = hashOf(id);
    const auto row = context.database.query(
        "select owner, bucket, node, parent, name, base, work, writable, exclusive, content_type"
        " from handles where hash = $1 and owner = $2",
        {Blob{hash}, user});
    if (!row->next()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return {std::move(hash),      row->integer(0),      row->integer(1), row->integer(2),
            row->integer(3),      row->text(4),         row->integer(5), row->integer(6),
            row->integer(7) != 0, row->integer(8) != 0, row->text(9)};
}

/// What is read through the handle.
Content contentOf(const Context& context, const Handle& handle) {
    const bool changed = handle.work != 0;
    Content content;
    content.id = changed ? handle.work : handle.base;
    content.base = changed ? handle.base : 0;
    content.type = handle.contentType;
    const auto row =
        context.database.query("select size, stored from contents where id = $1", {content.id});
    if (!row->next()) {
        throw database::DatabaseError(database::Fault::OTHER,
                                      "the store is damaged: an open content is missing");
    }
    content.size = row->integer(0);
    content.stored = row->integer(1);
    return content;
}

/// Gives the handle a content of its own to write to.
Content startWork(const Context& context, Handle& handle, Content content) {
    if (handle.work == 0) {
        handle.work = newContent(context).id;
        context.database.execute("update handles set work = $2 where hash = $1",
                                 {Blob{handle.hash}, handle.work});
        content.id = handle.work;
        content.base = handle.base;
        content.stored = 0;
    }
    return content;
}

/// The place to which the handle's changes go.
Place targetOf(const Context& context, const Handle& handle) {
    if (handle.node != 0) {
        Place place = placeOf(context, handle.owner, handle.node);
        place.node(Right::WRITE);
        return place;
    }
    Place place = placeOf(context, handle.owner, handle.parent);
    if (place.chain.empty()) {
        refuse(KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND);
    }
    place.node(Right::WRITE);
    enter(context, place, handle.name);
    if (place.resource().getPath().size() > longestPath) {
        refuse(KVXClientErrorCode::ILLEGAL_PATH);  // The folder was moved to where it is too long.
    }
    if (place.exists() && (handle.exclusive || place.node().kind != Kind::FILE)) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    return place;
}

void commit(const Context& context, const Handle& handle, bool createNewVersion) {
    const Place place = targetOf(context, handle);
    Content content = contentOf(context, handle);
    // First, since from here on the bytes count with the version.
    deleteHandle(context.database, handle.hash);
    detachFromBase(context, content);
    const Node file = revise(context, place, content.size, createNewVersion);
    addVersion(context, file, content);
}

/// The largest file in a number that can be stored.
unsigned long sizeLimit(const Context& context) {
    constexpr unsigned long most = std::numeric_limits<std::int64_t>::max();
    return std::min(context.options.fileSizeLimit, most);
}

}  // namespace

kvxclient::FileHandleReadOnlyCreateResponse createReadOnlyFileHandle(
    const Context& context, const kvxclient::FileHandleReadOnlyCreateRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& file = place.node(Kind::FILE);
    const Content content =
        findVersion(context, file, request.getVersionId(), request.getVersionLabel());
    Handle handle;
    handle.owner = place.user;
    handle.bucket = file.bucket;
    handle.node = file.id;
    handle.base = content.id;
    handle.contentType = content.type;
    return kvxclient::FileHandleReadOnlyCreateResponse()
        .withFileHandleId(insertHandle(context, handle))
        .withFileSize(static_cast<unsigned long>(content.size));
}

kvxclient::FileHandleReadWriteCreateResponse createReadWriteFileHandle(
    const Context& context, const kvxclient::FileHandleReadWriteCreateRequest& request) {
    const FileCreateMode mode = request.getCreateMode();
    requireBetween(mode, FileCreateMode::CREATE, FileCreateMode::CREATE_OR_UPDATE);
    const Place place = locate(context, request.getResource());
    const bool creates = !place.exists();
    Handle handle;
    handle.owner = place.user;
    handle.bucket = place.bucket.id;
    handle.writable = true;
    handle.contentType = request.getContentType();
    Content content;
    if (creates) {
        const Node& parent = place.parent();
        if (mode == FileCreateMode::UPDATE) {
            refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
        }
        handle.parent = parent.id;
        handle.name = place.name();
        handle.exclusive = mode == FileCreateMode::CREATE;
    } else {
        const Node& file = place.node(Kind::FILE, Right::WRITE);
        if (mode == FileCreateMode::CREATE) {
            refuse(KVXClientErrorCode::CONFLICT);
        }
        content = findVersion(context, file, {}, file.label);
        handle.node = file.id;
        handle.base = request.getTruncate() ? 0 : content.id;
        if (handle.contentType.empty()) {
            handle.contentType = content.type;
        }
    }
    // A handle with a work content has something to commit, whether or not anything is written.
    if (handle.base == 0 || handle.contentType != content.type) {
        content = newContent(context, handle.base == 0 ? 0 : content.size);
        handle.work = content.id;
    }
    return kvxclient::FileHandleReadWriteCreateResponse()
        .withFileHandleId(insertHandle(context, handle))
        .withFileCreated(creates)
        .withFileSize(static_cast<unsigned long>(content.size));
}

kvxclient::FileContentReadResponse readFileContent(
    const Context& context, const kvxclient::FileContentReadRequest& request) {
    const Content content = contentOf(context, findHandle(context, request.getFileHandleId()));
    const auto size = static_cast<unsigned long>(content.size);
    const unsigned long start = std::min(request.getStartLocation(), size);
    const unsigned long length = std::min(request.getLength(), size - start);
    kvxclient::FileContentReadResponse response;
    response.withStartLocation(request.getStartLocation())
        .withContentType(content.type)
        .withFileSize(size);
    readRange(context, content, static_cast<std::int64_t>(start), static_cast<std::int64_t>(length),
              [&](std::string_view bytes) { response.appendContent(bytes.data(), bytes.size()); });
    return response;
}

kvxclient::FileContentWriteResponse writeFileContent(
    const Context& context, const kvxclient::FileContentWriteRequest& request) {
    Handle handle = findHandle(context, request.getFileHandleId());
    if (!handle.writable) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    // What counts in the quota of another must end when he takes the right back.
    targetOf(context, handle);
    Content content = contentOf(context, handle);
    const unsigned long size = request.getContentSize();
    const unsigned long start = request.getStartLocation();
    const unsigned long limit = sizeLimit(context);
    if (size > limit || start > limit - size) {
        refuse(KVXClientErrorCode::FILE_TOO_LARGE);
    }
    if (size > 0 && request.getContent() == nullptr) {
        refuse(KVXClientErrorCode::UNKNOWN);
    }
    if (size > 0) {
        content = startWork(context, handle, std::move(content));
        const std::int64_t before = content.stored;
        writeRange(context, content, static_cast<std::int64_t>(start),
                   {reinterpret_cast<const char*>(request.getContent()), size});
        reserve(context, handle.bucket, content.stored - before);
    }
    return kvxclient::FileContentWriteResponse().withFileSize(
        static_cast<unsigned long>(content.size));
}

kvxclient::FileHandleCloseResponse closeFileHandle(
    const Context& context, const kvxclient::FileHandleCloseRequest& request) {
    using kvxclient::FileHandleCloseOperation;
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
