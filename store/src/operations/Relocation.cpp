#include "operations/Relocation.h"

#include "namespace/Trees.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

struct Relocation {
    Place source;
    Place target;

    Relocation(const Context& context, const kvxclient::MoveOrCopyRequest& request)
        : source(locate(context, request.getSource())),
          target(locate(context, request.getTarget())) {
        const Node& node = source.node();
        if (target.passesThrough(node)) {
            refuse(KVXClientErrorCode::CONFLICT);
        }
        target.parent();
        if (target.exists() && (!request.getTargetOverwrite() || target.node().kind != node.kind ||
                                source.passesThrough(target.node()))) {
            refuse(KVXClientErrorCode::CONFLICT);
        }
    }
};

}  // namespace

kvxclient::MoveOrCopyResponse move(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request) {
    const Relocation relocation(context, request);
    // A root cannot leave its bucket, nor a shared folder the one who only has that.
    relocation.source.parent();
    moveTree(context, relocation.source, relocation.target);
    return {};
}

kvxclient::MoveOrCopyResponse copy(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request) {
    const Relocation relocation(context, request);
    copyTree(context, relocation.source.node(), relocation.target);
    return {};
}

}  // namespace storage::kvxstore::operations
