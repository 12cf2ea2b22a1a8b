kvx init -q --user ada
kvx user add bob --quota 1K --email bob@home --token-file bob
kvx user add eve --token-file eve
kvx mkdir -p /docs/plans/2026 /docs/.hidden
echo text | kvx put - :/docs/file
id=$(kvx invite /docs --to bob@home)
open=$(kvx invite /docs/plans --write)
eachLine <<'TABLE'
0||as bob shared $id; [[ $(<output) == *ada:/docs*read-only*pending*plans/*'file  5' && $(<output) != *hidden* ]]
0||as bob shared $id plans --copy-to /copied; [[ $(as bob ls -R) == *2026* ]]
0||as bob accept $id; [[ $(<output) == ada:/docs && $(as bob cat ada:/docs/file) == text ]]
4|kvx: mkdir: ada:/docs/new: permission denied|as bob mkdir ada:/docs/new; as bob decline $id
3|kvx: ls: ada:/docs: there is no such bucket, or nothing here is shared with you|as bob ls ada:/docs
0||as eve accept $open && as eve mkdir ada:/docs/plans/new
0||as eve invitations --received; [[ $(<output) == *accepted*read-write*ada*eve*ada:/docs/plans ]]
0||kvx invitations --sent --json; [[ $(grep -c '"from":"ada"' output) == 3 ]]
4|kvx: uninvite: '"$open"': permission denied|as eve uninvite $open; kvx uninvite $open
3|kvx: ls: ada:/docs/plans: there is no such bucket, or nothing here is shared with you|as eve ls ada:/docs/plans
0|kvx: invite: mallory: nobody has this name or mail address yet|kvx invite /docs --to mallory
3|kvx: grant: mallory: there is no such user|kvx grant /docs --to mallory
0||kvx grant /docs --to eve --write; as eve mkdir ada:/docs/eve && [[ $(kvx grants /docs) == 'eve  read-write  active' ]] && kvx revoke /docs --from eve
3|kvx: revoke: eve: nothing is granted on :/docs|kvx revoke /docs --from eve
6|kvx: put: :/large: the storage quota is exceeded (old versions count: see kvx df --help)|as bob put <(head -c 2K /dev/zero) :/large
0||mkdir many; for i in {1..12}; do head -c 2K /dev/zero >many/$i; done; ! as bob put -r many :/ 2>said && [[ $(grep -c exceeded said; grep more said) == $'10\nkvx: put: more fail for the same reason (-v names each)' ]] && ! as bob put -vr many :/ 2>said && [[ $(grep -c exceeded said) == 12 ]]
TABLE
