kvx init -q --user ada
kvx mkdir /docs
echo first | kvx put - :/docs/file
eachLine <<'TABLE'
0||kvx restore /docs/file 1; [[ $(<output) == 'restored as version 2' ]]
0||kvx versions /docs/file --json; [[ $(<output) == '{"label":1,"id":"'*'Z","size":6,"current":false}'$'\n''{"label":2,'*'"current":true}' ]]
0||kvx put <(echo second) :/docs/file; kvx restore /docs/file 1 --json >output; [[ $(<output) == '{"name":":/docs/file","label":4,"id":"'* && $(kvx cat /docs/file) == first ]]
0||kvx stat --json /docs/file; [[ $(<output) == *'"modified":"'$(kvx versions --json /docs/file | head -n 1 | cut -d \" -f 10)\"* ]]
3|kvx: restore: :/docs/file: it has no version x|kvx restore /docs/file x
0||kvx policy set /docs --public allowed; kvx policy set /docs --versions disabled
0||kvx policy get /docs/file; [[ $(<output) == 'versions:  inherit (disabled)'*'public:    inherit (allowed)' ]]
0||kvx restore /docs/file 1; kvx versions /docs/file >output; [[ $(tail -n 2 output | cut -c 1) == $'3\n5' ]]
0||kvx versions /docs/file; [[ $(wc -l <output) == 4 ]]
0||kvx prune -n --keep-last 2; [[ $(<output) == 'would remove 2 versions, size 12' ]]
0||kvx prune --keep-last 1 --keep-days 1 --json; [[ $(<output) == '{"versions":0,"size":0,"dryRun":false}' ]]
3|kvx: prune: none: there is no such bucket|kvx prune --keep-last 2 --bucket none
2|kvx: prune: --keep-last: a rule is needed: this, --keep-days or --damaged|kvx prune --bucket ada
2|kvx: prune: --damaged: it goes with --dry-run only|kvx prune --damaged --keep-last 2
0||kvx prune --damaged --json; [[ $(<output) == '{"versions":0,"size":0,"dryRun":false}' ]]
0||kvx prune --keep-last 2 --bucket ada --json; [[ $(<output) == '{"versions":2,"size":12,"dryRun":false}' ]]
0||kvx versions /docs/file; [[ $(cut -c 1 output) == $'3\n5' ]]
0||kvx user add bob --quota 2M; cp output bob; [[ $(as bob df --json) == '{"used":0,"quota":2097152}' ]]
0||kvx user token bob --token-file new; ! as bob df 2>/dev/null; mv new bob; kvx user quota bob 1G; [[ $(as bob df --json) == *:1073741824} ]]
0||kvx user quota bob -; [[ $(as bob df --json) == *:null} ]]
5|kvx: user add: bob: a user or bucket of this name exists already|kvx user add bob --token-file new; [[ ! -e new ]]
4|kvx: user add: a:b: a colon ends the name of a bucket, and cannot be in it|kvx user add a:b
4|kvx: user add: a/b: the name breaks the rules for names: it has a slash|kvx user add a/b
2|kvx: user add: -5: not a size: write 1000, 512M or 10G|kvx user add eve --quota=-5
0||kvx bucket add team ada; kvx mkdir team:/plans; kvx bucket list >output; [[ $(tail -n 1 output) == 'team  ada  0' ]]
0||kvx sweep; [[ -z $(<output) ]]
0||kvx user remove bob </dev/null; [[ $(kvx user list) == 'ada  '*' of any size' ]]
3|kvx: user remove: bob: there is no such user|kvx user remove bob
TABLE
