#include <iostream>

#include "commands/Commands.h"

namespace storage::kvxtool {
namespace {

// Each asks `kvx complete`, which prints lines of a candidate, a tab and a description, or the
// word "local" alone for local names.
const char* const BASH_SCRIPT = R"(# bash completion for kvx
_kvx() {
    local output name
    COMPREPLY=()
    output=$("$1" complete --breaks "$COMP_WORDBREAKS" -- "${COMP_LINE:0:COMP_POINT}" 2>/dev/null)
    if [[ $output == local ]]; then
        compopt -o bashdefault -o default
        return
    fi
    [[ -n $output ]] || return
    while IFS=$'\t' read -r name _; do
        COMPREPLY+=("$name")
    done <<<"$output"
    if [[ ${COMPREPLY[0]} == *[/:] ]]; then
        compopt -o nospace
    fi
    if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *['$`']* &&
        ${COMP_WORDS[COMP_CWORD]} != [\'\"]* ]]; then
        printf -v 'COMPREPLY[0]' %q "${COMPREPLY[0]}"  # The shell would not quote these.
    elif [[ ${COMPREPLY[0]} == */* ]]; then
        compopt -o filenames
    fi
}
complete -F _kvx kvx
)";

const char* const ZSH_SCRIPT = R"(#compdef kvx
_kvx() {
    local output line name description
    local -a folders others
    output=$(${(Q)words[1]} complete -- "${(j: :)words[1,CURRENT-1]} $PREFIX" 2>/dev/null)
    if [[ $output == local ]]; then
        _files
        return
    fi
    for line in ${(f)output}; do
        name=${${line%%$'\t'*}//:/\\:}
        description=${line#*$'\t'}
        if [[ $name == *[/:] ]]; then
            folders+=("$name")
        else
            others+=("$name${description:+:$description}")
        fi
    done
    _describe kvx others -- folders -S ''
}
if [[ $funcstack[1] == _kvx ]]; then
    _kvx "$@"
else
    compdef _kvx kvx
fi
)";

const char* const FISH_SCRIPT = R"(# fish completion for kvx
function __kvx_complete
    set -l output (kvx complete -- (commandline -cp | string collect) 2>/dev/null)
    if test "$output" = local
        __fish_complete_path (commandline -ct)
    else
        string join \n -- $output
    end
end
complete -c kvx -f -a '(__kvx_complete)'
)";

const std::map<std::string, const char*> SCRIPTS = {
    {"bash", BASH_SCRIPT}, {"fish", FISH_SCRIPT}, {"zsh", ZSH_SCRIPT}};

}  // namespace

Command completionCommand() {
    return {
        .name = "completion",
        .summary = "Print the script that completes command lines",
        .group = "Help",
        .options = {argument("SHELL", "bash, fish or zsh").oneOf({"bash", "fish", "zsh"})},
        .notes =
            R"(Packages install the scripts. Else put a line into the file that your shell reads:
  bash   source <(kvx completion bash)         in ~/.bashrc
  fish   kvx completion fish | source          in ~/.config/fish/config.fish
  zsh    source <(kvx completion zsh)          in ~/.zshrc, after compinit)",
        .examples = {"source <(kvx completion bash)"},
        .run = [](Invocation& invocation) { std::cout << SCRIPTS.at(invocation.text("SHELL")); }};
}

}  // namespace storage::kvxtool
