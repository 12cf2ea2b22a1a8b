#!/usr/bin/env bash
# Compares the order of the interface's tables of virtual functions with the promised one. A name
# with "..." is a callback form; a destructor has two entries.
# usage: vtables.sh object-file
set -euo pipefail

actual() { # class
    # A relocation for each entry, in the order of the table; the first is the type information.
    echo "$1:" $(objdump -rC -j ".data.rel.ro._ZTVN7storage9kvxclient${#1}${1}E" \
        -j ".data.rel.ro.local._ZTVN7storage9kvxclient${#1}${1}E" "$object" 2>/dev/null |
        sed -nE 's/^.* R_X86_64_64 +//p' | grep -v typeinfo |
        sed -E 's/<storage::kvxtesting::ScriptedTransport>//
                s/^(storage::kvxclient::|std::)?(\w+::)*(~?\w+)(\[abi:cxx11\])?\((.*)\).*$/\3(\5)/
                s/~\w+\(.*/~/; s/\(.*std::function.*/.../; s/\(.*//')
}

object=$1
diff - <(for class in TableOfClient TableOfFileAccess TableOfAccessControl \
    TableOfConfigurationManagement TableOfNotification TableOfVersioning TableOfException; do
    actual $class
done) <<'END'
TableOfClient: ping... login... logout... createFileAccess createAccessControl createConfigurationManagement createNotification createVersioning cancelPendingCalls waitForPendingCalls ~ ~
TableOfFileAccess: createFile... deleteFile... createFileDownload... downloadFile... createFolder... deleteFolder... createReadOnlyFileHandle... createReadWriteFileHandle... readFile... readFileContent... writeFileContent... closeFileHandle... listFolder... listMultiFolder... move... copy... readFileAttributes... setMetadata... ~ ~
TableOfAccessControl: ~ ~ grantPermission... revokePermission... listPermissions... createInvitation... readInvitation... updateInvitation... deleteInvitation... listInvitations... copyFolderFromInvitation... getFolderContentFromInvitation... getInvitationDetails...
TableOfConfigurationManagement: ~ ~ setResourcePolicy... getResourcePolicy... getStorageUsage...
TableOfNotification: listFileChanges... ~ ~
TableOfVersioning: ~ ~ listVersions... restoreVersion... listVersions restoreVersion listVersionsAsync restoreVersionAsync
TableOfException: ~ ~ what
END
