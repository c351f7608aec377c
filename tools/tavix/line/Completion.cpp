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
constexpr const char* kAsk = "timeout 3 tavix";
constexpr const char* kSerialNumbers = R"~( list --json 2>/dev/null | sed -n 's/^ *"SerialNumber": "\(.*\)",*$/\1/p')~";
constexpr const char* kFeatureNames = R"~( --json 2>/dev/null | sed -n 's/^ *"name": "\(.*\)",*$/\1/p')~";

void AppendChoices(std::ostream& out, const CommandModel& command) {
    for (const OptionModel& option : command.options) {
        if (!option.isChoice) continue;
        if (option.isPositional) {
            out << "    [[ $command == " << command.name << " && $word != -* ]] && words=\"" << Spaced(option.value)
                << "\"\n";
        }
        for (const std::string& name : option.names)
            out << "    [[ $before == " << name << " ]] && words=\"" << Spaced(option.value) << "\"\n";
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
    return std::string("(") + kAsk + (option.isCamera ? kSerialNumbers : " features" + std::string(kFeatureNames)) +
           ")";
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
    out << "    case $before in\n"
        << "        " << Pattern(model, isCamera) << ") words=$(" << kAsk << " \"${virtual[@]}\"" << kSerialNumbers
        << ") ;;\n"
        << "        " << Pattern(model, isFeature) << ") words=$(" << kAsk
        << " \"${virtual[@]}\" features \"${camera[@]}\"" << kFeatureNames << ") ;;\n"
        << "        *) case $command/$word in\n"
        << "            */-*) ;;\n";
    std::string pattern;
    for (const char c : FeatureCommands(model) + "|")
        pattern += c == '|' ? std::string("/*|") : std::string(1, c);
    pattern.pop_back();
    out << "            " << pattern << ") words=$(" << kAsk << " \"${virtual[@]}\" features \"${camera[@]}\""
        << kFeatureNames << ") ;;\n"
        << "        esac ;;\n"
        << "    esac\n";
}

std::string BashCompletion(const ProgramModel& model) {
    std::ostringstream out;
    const auto isFile = [](const OptionModel& o) { return o.isFile && !o.isPositional; };
    const auto isOther = [](const OptionModel& o) {
        return !o.isFile && !o.isPositional && !o.value.empty() && !o.isChoice && !o.isCamera && !o.isFeature;
    };
    const auto takesValue = [](const OptionModel& o) { return !o.isPositional && !o.value.empty(); };
    out << "# bash completion for tavix; printed by `tavix completion bash`\n"
        << "_tavix() {\n"
        << "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= words= i\n"
        << "    local -a virtual=() camera=()\n"
        << "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
        << "        case ${COMP_WORDS[i]} in\n"
        << "            --virtual) virtual=(--virtual \"${COMP_WORDS[i+1]}\"); ((++i)) ;;\n"
        << "            -c|--camera) camera=(--camera \"${COMP_WORDS[i+1]}\"); ((++i)) ;;\n"
        << "            " << Pattern(model, takesValue) << ") ((++i)) ;;\n"
        << "            -*) ;;\n"
        << "            *) [[ -n $command ]] || command=${COMP_WORDS[i]} ;;\n"
        << "        esac\n"
        << "    done\n"
        << "    case $before in\n"
        << "        " << Pattern(model, isFile) << ") COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n"
        << "        " << Pattern(model, isOther) << ") COMPREPLY=(); return ;;\n"
        << "    esac\n"
        << "    case $command in\n"
        << "        '') words=\"" << CommandNames(model) << " " << Words(model, {}) << "\" ;;\n";
    for (const CommandModel& command : model.commands)
        out << "        " << command.name << ") words=\"" << Words(model, command) << "\" ;;\n";
    out << "    esac\n";
    for (const CommandModel& command : model.commands)
        AppendChoices(out, command);
    AppendQuestions(out, model);
    out << "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
        << "    [[ ${#COMPREPLY[@]} -gt 0 || -z $command ]] || COMPREPLY=($(compgen -f -- \"$word\"))\n"
        << "}\n"
        << "complete -o filenames -F _tavix tavix\n";
    return out.str();
}

std::string ZshCompletion(const ProgramModel& model) {
    std::ostringstream out;
    out << "#compdef tavix\n"
        << "# zsh completion for tavix; printed by `tavix completion zsh`\n"
        << "_tavix_cameras() {\n"
        << "    local -a found=(${(f)\"$(" << kAsk << kSerialNumbers << ")\"})\n"
        << "    compadd -a found\n"
        << "}\n"
        << "_tavix_features() {\n"
        << "    local -a found=(${(f)\"$(" << kAsk << " features" << kFeatureNames << ")\"})\n"
        << "    compadd -a found\n"
        << "}\n"
        << "_tavix() {\n"
        << "    local context state state_descr line\n"
        << "    typeset -A opt_args\n"
        << "    local -a commands=(\n";
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

std::string FishCompletion(const ProgramModel& model) {
    std::ostringstream out;
    out << "# fish completion for tavix; printed by `tavix completion fish`\n"
        << "complete -c tavix -f\n";
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
