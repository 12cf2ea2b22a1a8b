#include "operations/Operations.h"

#include "namespace/Trees.h"

namespace storage::kvxstore::operations {

namespace {

struct Relocation {
    ResolvedPath source;
    ResolvedPath target;

    Relocation(const Context& context, const MoveOrCopyRequest& request)
        : source(resolve(context, request.getSource())),
          target(resolve(context, request.getTarget())) {
        const Node& node = source.node();
        if (target.passesThrough(node)) {
            refuse(ErrorCode::CONFLICT);
        }
        target.parent();
        if (target.exists() && (!request.getTargetOverwrite() || target.node().kind != node.kind ||
                                source.passesThrough(target.node()))) {
            refuse(ErrorCode::CONFLICT);
        }
    }
};

}  // namespace

/// Keeps times and versions.
MoveOrCopyResponse move(const Context& context, const MoveOrCopyRequest& request) {
    const Relocation relocation(context, request);
    // Refuses a root, and a shared folder whose parent the caller does not see.
    relocation.source.parent();
    moveTree(context, relocation.source, relocation.target);
    return {};
}

/// Makes new files whose version 1 shares the current content.
MoveOrCopyResponse copy(const Context& context, const MoveOrCopyRequest& request) {
    const Relocation relocation(context, request);
    copyTree(context, relocation.source.node(), relocation.target);
    return {};
}

}  // namespace storage::kvxstore::operations
