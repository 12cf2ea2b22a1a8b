#include <iostream>
#include <map>
#include <memory>

#include "cli/Completion.h"
#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "ui/Text.h"

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

void print(const TypedLine& line, const std::string& candidate, const std::string& description) {
    std::cout << candidate.substr(line.cut) << '\t' << description << '\n';
}

/// Prints what can be in front of a path, the bucket and the colon.
void printBuckets(const StoreLocation& location, const TypedLine& line) {
    const std::string& typed = line.words.back();
    if (typed.empty() || typed.ends_with(':')) {
        print(line, (typed.empty() ? ":" : typed) + "/", "");
        return;
    }
    for (const StoreBucket& bucket : Administration(location).buckets()) {
        const std::string name = toUtf8(bucket.name) + ":";
        if (name.starts_with(typed)) {
            print(line, name, "");
        }
    }
}

/// Prints the names in the store that begin with the last word.
void printRemoteNames(const StoreLocation& location, const TypedLine& line) {
    const std::string& typed = line.words.back();
    const std::size_t slash = typed.rfind('/');
    if (slash == std::string::npos) {
        printBuckets(location, line);
        return;
    }
    const std::string folder = typed.substr(0, slash + 1);
    const std::string begin = typed.substr(slash + 1);
    const Session session(location);
    kvxclient::FolderListRequest request(RemoteName::parse(folder).resource());
    request.withShowHidden(begin.starts_with('.'));
    for (const RemoteEntry& entry : entriesOf(session.files().listFolder(std::move(request)))) {
        const std::string name = toUtf8(entry.name);
        // A name that would break the line cannot be offered.
        if (name.starts_with(begin) && name == escaped(name)) {
            print(line, folder + name + (entry.folder ? "/" : ""), "");
        }
    }
}

void complete(const CLI::App& program, const TypedLine& line, const StoreLocation& location) {
    const Completion completion(program, line);
    for (const Completion::Candidate& candidate : completion.candidates()) {
        print(line, candidate.text, candidate.description);
    }
    if (completion.names() == Completion::Names::LOCAL) {
        std::cout << "local\n";
    } else if (completion.names() == Completion::Names::REMOTE) {
        printRemoteNames(
            completion.store().empty() ? location : StoreLocation::find(completion.store()), line);
    }
}

}  // namespace

void addCompletion(CLI::App& program, Invocation& invocation) {
    auto shell = std::make_shared<std::string>();
    CLI::App* script =
        program.add_subcommand("completion", "Print the script that completes command lines");
    script->add_option("SHELL", *shell, "bash, fish or zsh")
        ->type_name("")
        ->required()
        ->check(CLI::IsMember({"bash", "fish", "zsh"}));
    script->footer(
        "Packages install the scripts. Else put a line into the file that your shell reads:\n"
        "  bash   source <(kvx completion bash)         in ~/.bashrc\n"
        "  fish   kvx completion fish | source          in ~/.config/fish/config.fish\n"
        "  zsh    source <(kvx completion zsh)          in ~/.zshrc, after compinit\n"
        "\n"
        "Examples:\n"
        "  source <(kvx completion bash)");
    script->callback([shell, &invocation] {
        invocation.run = [shell](const StoreLocation&, Diagnostics&) {
            std::cout << SCRIPTS.at(*shell);
        };
    });

    struct Request {
        std::string line;
        std::string breaks;
    };
    auto request = std::make_shared<Request>();
    CLI::App* command = program.add_subcommand("complete", "What can follow")->group("");
    command->add_option("LINE", request->line, "The command line up to the cursor")->required();
    command->add_option("--breaks", request->breaks, "Where the shell's editor begins a new word");
    command->callback([request, &program, &invocation] {
        invocation.run = [request, &program](const StoreLocation& location, Diagnostics&) {
            complete(program, TypedLine(request->line, request->breaks), location);
        };
    });
}

}  // namespace storage::kvxtool
