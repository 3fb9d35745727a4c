#include "command_reference.h"

#include "qelm/host/parameters.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

/** What an argument is completed to. */
enum class Argument { none, file, parameter, assignment };

Argument argumentOf(std::string_view value) {
    if (value == "NAME") {
        return Argument::parameter;
    }
    if (value == "NAME=VALUE" || value == "NAME[=VALUE]") {
        return Argument::assignment;
    }
    const bool isFile = value.find("FILE") != value.npos || value.ends_with(".kcf") || value == "PATH";
    return isFile ? Argument::file : Argument::none;
}

/** Of what stands by itself. */
Argument positionalOf(const VerbText& verb) {
    for (const OptionText& option : verb.options) {
        if (option.isPositional) {
            return argumentOf(option.names.front());
        }
    }
    return Argument::none;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

std::vector<std::string> verbNames(const CommandReference& reference) {
    std::vector<std::string> names;
    for (const VerbText& verb : reference.verbs) {
        names.push_back(verb.name);
    }
    return names;
}

std::vector<std::string> optionNames(const VerbText& program, const VerbText& verb,
                                     const std::function<bool(const OptionText&)>& isWanted) {
    std::vector<std::string> names;
    for (const std::vector<OptionText>* options : {&verb.options, &program.options}) {
        for (const OptionText& option : *options) {
            if (!option.isPositional && isWanted(option)) {
                names.insert(names.end(), option.names.begin(), option.names.end());
            }
        }
    }
    return names;
}

bool isAny(const OptionText&) {
    return true;
}

std::vector<std::string> parameterNames() {
    std::vector<std::string> names;
    for (const host::Parameter& parameter : host::fixedParameters()) {
        names.push_back(parameter.name);
    }
    return names;
}

std::vector<std::string> entryNames(const host::Parameter& parameter) {
    std::vector<std::string> names;
    for (const host::EnumerationEntry& entry : parameter.entries) {
        names.push_back(entry.name);
    }
    return names;
}

/** Cases of a shell's `case`, "    FG_FORMAT) values="FG_GRAY FG_GRAY16" ;;" */
std::string valueCases() {
    std::string cases;
    for (const host::Parameter& parameter : host::fixedParameters()) {
        if (!parameter.entries.empty()) {
            cases += "        " + parameter.name + ") values=\"" + joined(entryNames(parameter)) + "\" ;;\n";
        }
    }
    return cases;
}

const char* argumentName(Argument argument) {
    switch (argument) {
    case Argument::file:
        return "file";
    case Argument::parameter:
        return "parameter";
    case Argument::assignment:
        return "assignment";
    default:
        return "none";
    }
}

/** Cases that say for each verb what its options are, and which of them take what. */
std::string verbCases(const CommandReference& reference) {
    std::ostringstream cases;
    for (const VerbText& verb : reference.verbs) {
        cases << "        " << verb.name << ")\n"
              << "            options=\"" << joined(optionNames(reference.program, verb, isAny)) << "\"\n"
              << "            argument=" << argumentName(positionalOf(verb)) << '\n'
              << "            case $previous in\n";
        for (const Argument argument : {Argument::file, Argument::assignment, Argument::none}) {
            const std::vector<std::string> names = optionNames(reference.program, verb, [&](const OptionText& option) {
                return !option.value.empty() && argumentOf(option.value) == argument;
            });
            if (!names.empty()) {
                std::string pattern = joined(names);
                std::ranges::replace(pattern, ' ', '|');
                cases << "            " << pattern << ") argument=" << argumentName(argument) << " options= ;;\n";
            }
        }
        cases << "            esac\n            ;;\n";
    }
    return cases.str();
}

std::string bashCompletion(const CommandReference& reference) {
    std::ostringstream script;
    script << R"(# Completion of qelm for bash, made by "qelm completion bash".
_qelm() {
    local verbs=")"
           << joined(verbNames(reference)) << R"("
    local parameters=")"
           << joined(parameterNames()) << R"("
    # Words as they were typed: bash takes them apart at "=".
    local line=${COMP_LINE:0:COMP_POINT} words current previous verb= word
    read -r -a words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    current=${words[-1]}
    previous=${words[-2]}
    for word in "${words[@]:1:${#words[@]}-2}"; do
        [[ $word != -* && " $verbs " == *" $word "* ]] && verb=$word && break
    done
    local options= argument=none values=
    case $verb in
    "")
        COMPREPLY=($(compgen -W "$verbs )"
           << joined(optionNames(reference.program, {}, isAny)) << R"(" -- "$current"))
        return
        ;;
)" << verbCases(reference)
           << R"(    esac
    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$current"))
    elif [[ $argument == file ]]; then
        compopt -o filenames 2>/dev/null
        COMPREPLY=($(compgen -f -- "$current"))
    elif [[ $argument == assignment && $current == *=* ]]; then
        case ${current%%=*} in
)" << valueCases()
           << R"(        esac
        COMPREPLY=($(compgen -W "$values" -- "${current#*=}"))
    elif [[ $argument == assignment ]]; then
        compopt -o nospace 2>/dev/null
        COMPREPLY=($(compgen -W "$parameters" -S = -- "$current"))
    elif [[ $argument == parameter ]]; then
        COMPREPLY=($(compgen -W "$parameters" -- "$current"))
    fi
}
complete -F _qelm qelm
)";
    return script.str();
}

std::string zshCompletion(const CommandReference& reference) {
    std::ostringstream script;
    script << R"(#compdef qelm
# Completion of qelm for zsh, made by "qelm completion zsh".
_qelm() {
    local -a verbs parameters
    verbs=()"
           << joined(verbNames(reference)) << R"()
    parameters=()"
           << joined(parameterNames()) << R"()
    local current=${words[CURRENT]} previous=${words[CURRENT-1]} verb= word
    for word in ${words[2,CURRENT-1]}; do
        if [[ $word != -* ]] && (( ${verbs[(Ie)$word]} )); then
            verb=$word
            break
        fi
    done
    local options= argument=none values=
    case $verb in
    "")
        compadd -- $verbs )"
           << joined(optionNames(reference.program, {}, isAny)) << R"(
        return
        ;;
)" << verbCases(reference)
           << R"(    esac
    if [[ $current == -* ]]; then
        compadd -- ${=options}
    elif [[ $argument == file ]]; then
        _files
    elif [[ $argument == assignment && $current == *=* ]]; then
        case ${current%%=*} in
)" << valueCases()
           << R"(        esac
        compset -P '*='
        compadd -- ${=values}
    elif [[ $argument == assignment ]]; then
        compadd -S = -- $parameters
    elif [[ $argument == parameter ]]; then
        compadd -- $parameters
    fi
}
_qelm "$@"
)";
    return script.str();
}

std::string fishQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text) {
        quoted += character == '\'' || character == '\\' ? "\\" : "";
        quoted += character;
    }
    return quoted + "'";
}

void addFishOptions(std::ostream& script, const std::string& condition, const std::vector<OptionText>& options) {
    for (const OptionText& option : options) {
        if (option.isPositional) {
            continue;
        }
        script << "complete -c qelm" << condition;
        for (const std::string& name : option.names) {
            script << (name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1));
        }
        if (const Argument argument = argumentOf(option.value); !option.value.empty()) {
            script << (argument == Argument::file ? " -r -F" : " -x");
            script << (argument == Argument::assignment ? " -a '(__qelm_assignments)'" : "");
        }
        script << " -d " << fishQuoted(option.description) << '\n';
    }
}

std::string fishCompletion(const CommandReference& reference) {
    std::ostringstream script;
    script << "# Completion of qelm for fish, made by \"qelm completion fish\".\n"
           << "function __qelm_parameters\n    printf '%s\\n' " << joined(parameterNames()) << "\nend\n"
           << "function __qelm_assignments\n    printf '%s=\\n' " << joined(parameterNames()) << '\n';
    for (const host::Parameter& parameter : host::fixedParameters()) {
        for (const std::string& entry : entryNames(parameter)) {
            script << "    echo " << parameter.name << '=' << entry << '\n';
        }
    }
    script << "end\ncomplete -c qelm -f\n";
    addFishOptions(script, "", reference.program.options);
    for (const VerbText& verb : reference.verbs) {
        script << "complete -c qelm -n __fish_use_subcommand -a " << verb.name << " -d " << fishQuoted(verb.description)
               << '\n';
        const std::string condition = " -n '__fish_seen_subcommand_from " + verb.name + "'";
        addFishOptions(script, condition, verb.options);
        switch (positionalOf(verb)) {
        case Argument::parameter:
            script << "complete -c qelm" << condition << " -a '(__qelm_parameters)'\n";
            break;
        case Argument::assignment:
            script << "complete -c qelm" << condition << " -a '(__qelm_assignments)'\n";
            break;
        case Argument::file:
            script << "complete -c qelm" << condition << " -F\n";
            break;
        case Argument::none:
            break;
        }
    }
    return script.str();
}

} // namespace

std::string completion(const CommandReference& reference, std::string_view shell) {
    if (shell == "bash") {
        return bashCompletion(reference);
    }
    if (shell == "zsh") {
        return zshCompletion(reference);
    }
    if (shell == "fish") {
        return fishCompletion(reference);
    }
    throw std::invalid_argument("there is completion for bash, zsh and fish, not for \"" + std::string(shell) + "\"");
}

} // namespace qelm::tool
