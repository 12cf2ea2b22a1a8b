#include "operations/Attributes.h"

#include "namespace/LookupCache.h"
#include "namespace/Summaries.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

kvxclient::FileAttributesReadResponse readFileAttributes(
    const Context& context, const kvxclient::FileAttributesReadRequest& request) {
    const Place place = locate(context, request.getResource());
    return kvxclient::FileAttributesReadResponse().withFileAttributes(
        attributesOf(context, place.user, place.node()));
}

kvxclient::SetMetadataResponse setMetadata(const Context& context,
                                           const kvxclient::SetMetadataRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& node = place.node(Right::WRITE);
    const std::int64_t time = request.getClientLastModified().time_since_epoch().count();
    context.database.execute("update nodes set client_modified = $2, seq = $3 where id = $1",
                             {node.id, time, advance(context, place.bucket.id, 0)});
    if (node.kind == Kind::FILE) {
        LookupCache::on(context.database).keep();
    }
    return {};
}

}  // namespace storage::kvxstore::operations
