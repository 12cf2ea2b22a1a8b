#include "operations/Operations.h"

#include "namespace/LookupCache.h"
#include "namespace/Summaries.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

FileAttributesReadResponse readFileAttributes(const Context& context,
                                              const FileAttributesReadRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    return FileAttributesReadResponse().withFileAttributes(
        attributesOf(context, path.user, path.node()));
}

SetMetadataResponse setMetadata(const Context& context, const SetMetadataRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& node = path.node(Right::WRITE);
    const std::int64_t time = request.getClientLastModified().time_since_epoch().count();
    const ChangeAt change(context, path);
    const std::int64_t seq = node.kind == Kind::FILE ? advanceFile(context, path.bucket.id)
                                                     : advance(context, path.bucket.id);
    context.database.post("update nodes set client_modified = $2, seq = $3 where id = $1",
                          {node.id, time, seq});
    if (node.kind == Kind::FILE) {
        LookupCache::on(context.database).keep();
    }
    return {};
}

}  // namespace storage::kvxstore::operations
