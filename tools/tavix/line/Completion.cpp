#include "line/Completion.h"

#include <sstream>

namespace tool {
namespace {

void AppendWords(std::string& words, const CommandModel& command) {
    for (const OptionModel& option : command.options) {
        for (const std::string& name : option.names) {
            const bool isNew = (" " + words + " ").find(" " + name + " ") == std::string::npos;
            if (isNew) words += (words.empty() ? "" : " ") + name;
        }
    }
}

/// The options of a command, those of the program included: they may stand behind it.
std::string Words(const ProgramModel& model, const CommandModel& command) {
    std::string words;
    AppendWords(words, command);
    AppendWords(words, model.program);
    return words;
}

std::string CommandNames(const ProgramModel& model) {
    std::string names;
    for (const CommandModel& command : model.commands)
        names += (names.empty() ? "" : " ") + command.name;
    return names;
}

/// "-o|--output" of every option for which `select` holds, all commands together.
template<class Select>
std::string Pattern(const ProgramModel& model, Select select) {
    std::string pattern;
    const auto add = [&](const CommandModel& command) {
        for (const OptionModel& option : command.options) {
            for (const std::string& name : option.names) {
                const bool isNew = ("|" + pattern + "|").find("|" + name + "|") == std::string::npos;
                if (select(option) && isNew) pattern += (pattern.empty() ? "" : "|") + name;
            }
        }
    };
    add(model.program);
    for (const CommandModel& command : model.commands)
        add(command);
    return pattern;
}

std::string Spaced(std::string choices) {
    for (char& c : choices) {
        if (c == '|') c = ' ';
    }
    return choices;
}

/// For single quotes of a shell.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

/// Inside the brackets of a description of zsh's _arguments.
std::string Bracketed(const std::string& text) {
    std::string bracketed;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == '\\' || c == ':') bracketed += '\\';
        bracketed += c;
    }
    return bracketed;
}

// What the program itself is asked for while somebody types; a camera that does not answer must not hold up the shell.
// What it answers was made up by cameras: no shell may ever expand it.
constexpr const char* kAsk = "timeout 3 tavix ";
constexpr const char* kCameraNames = " list --names 2>/dev/null";
constexpr const char* kFeatureNames = " --names 2>/dev/null";

void AppendChoices(std::ostream& out, const CommandModel& command) {
    for (const OptionModel& option : command.options) {
        if (!option.isChoice) continue;
        if (option.isPositional) {
            out << "    [[ $command == " << command.name << " && $word != -* ]] && words=(" << Spaced(option.value)
                << ")\n";
        }
        for (const std::string& name : option.names)
            out << "    [[ $before == " << name << " ]] && words=(" << Spaced(option.value) << ")\n";
    }
}

std::string ZshArgument(const OptionModel& option) {
    if (option.value.empty()) return {};
    const std::string action = option.isFile      ? "_files"
                               : option.isCamera  ? "_tavix_cameras"
                               : option.isFeature ? "_tavix_features"
                               : option.isChoice  ? "(" + Spaced(option.value) + ")"
                                                  : std::string(" ");
    return ":" + Bracketed(option.value) + ":" + action;
}

void AppendZsh(std::ostream& out, const OptionModel& option) {
    if (option.isPositional) {
        out << " \\\n        " << Quoted((option.isRepeatable ? "*" : "") + ZshArgument(option));
        return;
    }
    for (const std::string& name : option.names) {
        out << " \\\n        "
            << Quoted((option.isRepeatable ? "*" : "") + name + "[" + Bracketed(option.description) + "]" +
                      ZshArgument(option));
    }
}

std::string FishAnswer(const OptionModel& option) {
    return option.isCamera ? "(__tavix_cameras)" : "(__tavix_features)";
}

void AppendFish(std::ostream& out, const std::string& condition, const OptionModel& option) {
    if (option.isPositional && option.isFile) out << "complete -c tavix -n " << Quoted(condition) << " -F\n";
    if (option.isPositional && option.isFeature) {
        out << "complete -c tavix -n " << Quoted(condition) << " -a " << Quoted(FishAnswer(option)) << "\n";
    }
    if (option.isPositional && option.isChoice) {
        out << "complete -c tavix -n " << Quoted(condition) << " -a " << Quoted(Spaced(option.value)) << "\n";
    }
    if (option.names.empty()) return;
    out << "complete -c tavix";
    if (!condition.empty()) out << " -n " << Quoted(condition);
    for (const std::string& name : option.names)
        out << (name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1));
    if (!option.value.empty()) out << (option.isFile ? " -r -F" : " -x");
    if (option.isChoice) out << " -a " << Quoted(Spaced(option.value));
    if (option.isCamera || option.isFeature) out << " -a " << Quoted(FishAnswer(option));
    out << " -d " << Quoted(option.description) << "\n";
}

} // namespace

/// Names of commands whose arguments are features, "get|set".
std::string FeatureCommands(const ProgramModel& model) {
    std::string names;
    for (const CommandModel& command : model.commands) {
        for (const OptionModel& option : command.options) {
            if (option.isPositional && option.isFeature) names += (names.empty() ? "" : "|") + command.name;
        }
    }
    return names;
}

/// The lines that ask for cameras and features; the virtual cameras and the camera of the line are asked.
void AppendQuestions(std::ostream& out, const ProgramModel& model) {
    const auto isCamera = [](const OptionModel& o) { return o.isCamera; };
    const auto isFeature = [](const OptionModel& o) { return o.isFeature && !o.isPositional; };
    const std::string features = std::string("words=(); _tavix_offer < <(") + kAsk +
                                 "\"${virtual[@]}\" features \"${camera[@]}\"" + kFeatureNames + ") ;;\n";
    out << "    case $before in\n"
        << "        " << Pattern(model, isCamera) << ") words=(); _tavix_offer < <(" << kAsk << "\"${virtual[@]}\""
        << kCameraNames << ") ;;\n"
        << "        " << Pattern(model, isFeature) << ") " << features << "        *) case $command/$word in\n"
        << "            */-*) ;;\n";
    std::string pattern;
    for (const char c : FeatureCommands(model) + "|")
        pattern += c == '|' ? std::string("/*|") : std::string(1, c);
    pattern.pop_back();
    out << "            " << pattern << ") " << features << "        esac ;;\n"
        << "    esac\n";
}

constexpr const char* kBashHelpers = R"~(# bash completion for tavix; printed by `tavix completion bash`
# Names come from cameras: they are compared and quoted, and never expanded.
_tavix_offer() {
    local name quoted
    while IFS= read -r name; do
        printf -v quoted %q "$name"
        if [[ $name == "$word"* || $quoted == "$word"* ]]; then COMPREPLY+=("$quoted"); fi
    done
}
_tavix_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
}
# A word of the line without its quotes.
_tavix_plain() {
    if [[ $1 == \'*\' || $1 == \"*\" ]]; then plain=${1:1:-1}; else IFS= read -d '' plain < <(printf '%s\0' "$1"); fi
}
)~";

std::string BashCompletion(const ProgramModel& model) {
    std::ostringstream out;
    const auto isFile = [](const OptionModel& o) { return o.isFile && !o.isPositional; };
    const auto isOther = [](const OptionModel& o) {
        return !o.isFile && !o.isPositional && !o.value.empty() && !o.isChoice && !o.isCamera && !o.isFeature;
    };
    const auto takesValue = [](const OptionModel& o) { return !o.isPositional && !o.value.empty(); };
    out << kBashHelpers << "_tavix() {\n"
        << "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= plain= i\n"
        << "    local -a virtual=() camera=() words=()\n"
        << "    COMPREPLY=()\n"
        << "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
        << "        case ${COMP_WORDS[i]} in\n"
        << "            --virtual) _tavix_plain \"${COMP_WORDS[i+1]}\"; virtual=(--virtual \"$plain\"); ((++i)) ;;\n"
        << "            -c|--camera) _tavix_plain \"${COMP_WORDS[i+1]}\"; camera=(--camera \"$plain\"); ((++i)) ;;\n"
        << "            " << Pattern(model, takesValue) << ") ((++i)) ;;\n"
        << "            -*) ;;\n"
        << "            *) [[ -n $command ]] || command=${COMP_WORDS[i]} ;;\n"
        << "        esac\n"
        << "    done\n"
        << "    case $before in\n"
        << "        " << Pattern(model, isFile) << ") _tavix_files; return ;;\n"
        << "        " << Pattern(model, isOther) << ") return ;;\n"
        << "    esac\n"
        << "    case $command in\n"
        << "        '') words=(" << CommandNames(model) << " " << Words(model, {}) << ") ;;\n";
    for (const CommandModel& command : model.commands)
        out << "        " << command.name << ") words=(" << Words(model, command) << ") ;;\n";
    out << "    esac\n";
    for (const CommandModel& command : model.commands)
        AppendChoices(out, command);
    AppendQuestions(out, model);
    out << "    if [[ ${#words[@]} -gt 0 ]]; then _tavix_offer < <(printf '%s\\n' \"${words[@]}\"); fi\n"
        << "    if [[ ${#COMPREPLY[@]} -eq 0 && -n $command ]]; then _tavix_files; fi\n"
        << "}\n"
        << "complete -F _tavix tavix\n";
    return out.str();
}

constexpr const char* kZshHelpers = R"~(#compdef tavix
# zsh completion for tavix; printed by `tavix completion zsh`
# Names come from cameras: compadd quotes them, and nothing expands them.
_tavix_cameras() {
    local -a found=("${(@f)$(timeout 3 tavix "${virtual[@]}" list --names 2>/dev/null)}")
    compadd -a -- found
}
_tavix_features() {
    local -a found=("${(@f)$(timeout 3 tavix "${virtual[@]}" features "${camera[@]}" --names 2>/dev/null)}")
    compadd -a -- found
}
_tavix() {
    local context state state_descr line i
    typeset -A opt_args
    local -a virtual=() camera=()
    for ((i = 2; i < CURRENT - 1; ++i)); do
        case $words[i] in
        --virtual) virtual=(--virtual "${(Q)words[i+1]}") ;;
        -c|--camera) camera=(--camera "${(Q)words[i+1]}") ;;
        esac
    done
    local -a commands=(
)~";

std::string ZshCompletion(const ProgramModel& model) {
    std::ostringstream out;
    out << kZshHelpers;
    for (const CommandModel& command : model.commands)
        out << "        " << Quoted(command.name + ":" + command.description) << "\n";
    out << "    )\n    _arguments -C";
    for (const OptionModel& option : model.program.options)
        AppendZsh(out, option);
    out << " \\\n        '1:command:{_describe command commands}' \\\n        '*::argument:->argument'\n"
        << "    [[ $state == argument ]] || return\n"
        << "    case $words[1] in\n";
    for (const CommandModel& command : model.commands) {
        out << "    " << command.name << ")\n        _arguments";
        for (const OptionModel& option : command.options)
            AppendZsh(out, option);
        out << " ;;\n";
    }
    out << "    esac\n}\n_tavix \"$@\"\n";
    return out.str();
}

constexpr const char* kFishHelpers = R"~(# fish completion for tavix; printed by `tavix completion fish`
# Names come from cameras: fish quotes what it offers, and nothing expands them.
function __tavix_of_line --description 'The value of one of these options in the line'
    set -l words (commandline -opc)
    for i in (seq 2 (count $words))
        if contains -- $words[$i] $argv; and set -q words[(math $i + 1)]
            printf '%s\n' $argv[-1] $words[(math $i + 1)]
        end
    end
end
function __tavix_cameras
    timeout 3 tavix (__tavix_of_line --virtual) list --names 2>/dev/null
end
function __tavix_features
    timeout 3 tavix (__tavix_of_line --virtual) features (__tavix_of_line -c --camera) --names 2>/dev/null
end
complete -c tavix -f
)~";

std::string FishCompletion(const ProgramModel& model) {
    std::ostringstream out;
    out << kFishHelpers;
    for (const OptionModel& option : model.program.options)
        AppendFish(out, "", option);
    for (const CommandModel& command : model.commands) {
        out << "complete -c tavix -n '__fish_use_subcommand' -a " << command.name << " -d "
            << Quoted(command.description) << "\n";
        for (const OptionModel& option : command.options)
            AppendFish(out, "__fish_seen_subcommand_from " + command.name, option);
    }
    return out.str();
}

} // namespace tool
