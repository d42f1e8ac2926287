// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/help/shell_completions.h"

#include <algorithm>
#include <string>

#include "cli/help/help.h"

namespace lumivastor::cli {

namespace {

using Kind = ValueKind::Kind;

// "60|30" as "60 30".
std::string spaced(std::string_view choices) {
    std::string words(choices);
    std::replace(words.begin(), words.end(), '|', ' ');
    return words;
}

// Between single quotes, for any of the shells: an apostrophe closes them, stands alone, and opens them again.
std::string inQuotes(std::string_view text) {
    std::string made = "'";
    for (const char c : text) made += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return made + "'";
}

std::string verbNames() {
    std::string names;
    for (const Verb* verb : allVerbs()) names += (names.empty() ? "" : " ") + std::string(verb->name);
    return names;
}

// The names of options, with spaces between them.
std::string optionNames(std::span<const OptionSpec> options) {
    std::string names;
    for (const OptionSpec& option : options) names += (names.empty() ? "" : " ") + std::string(option.name);
    return names;
}

// bash

std::string bashAction(std::string_view value) {
    const ValueKind kind = valueKind(value);
    switch (kind.kind) {
        case Kind::folder:
            return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- \"$word\")";
        case Kind::file:
            return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$word\")";
        case Kind::choice:
            return "mapfile -t COMPREPLY < <(compgen -W " + inQuotes(spaced(kind.choices)) + " -- \"$word\")";
        case Kind::none:
        case Kind::free:
            break;
    }
    return ":";
}

std::string bashValues(std::string_view verb, std::span<const OptionSpec> options) {
    std::string text;
    for (const OptionSpec& option : options) {
        if (option.value.empty()) continue;
        text += "        " + inQuotes(std::string(verb) + " " + std::string(option.name)) + ")\n            " +
                bashAction(option.value) + "\n            return ;;\n";
    }
    return text;
}

// zsh

// Escapes brackets and colons, which are special in descriptions of _arguments.
std::string zshText(std::string_view text) {
    std::string made;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') made += '\\';
        made += c;
    }
    return made;
}

std::string zshAction(std::string_view value) {
    const ValueKind kind = valueKind(value);
    switch (kind.kind) {
        case Kind::folder:
            return "_directories";
        case Kind::file:
            return "_files";
        case Kind::choice:
            return "(" + spaced(kind.choices) + ")";
        case Kind::none:
        case Kind::free:
            break;
    }
    return " ";
}

std::string zshOption(const OptionSpec& option) {
    std::string spec(option.name);
    if (!option.value.empty()) spec += "=";
    spec += "[" + zshText(option.help) + "]";
    if (!option.value.empty()) spec += ":" + zshText(option.value) + ":" + zshAction(option.value);
    return inQuotes(spec);
}

// fish

std::string fishAction(std::string_view value) {
    const ValueKind kind = valueKind(value);
    switch (kind.kind) {
        case Kind::folder:
            return " -x -a '(__fish_complete_directories)'";
        case Kind::file:
            return " -r -F";
        case Kind::choice:
            return " -x -a " + inQuotes(spaced(kind.choices));
        case Kind::free:
            return " -x";
        case Kind::none:
            break;
    }
    return "";
}

std::string fishOption(const std::string& condition, const OptionSpec& option) {
    return "complete -c lumivastor -n " + condition + " -l " + std::string(option.name.substr(2)) +
           fishAction(option.value) + " -d " + inQuotes(option.help) + "\n";
}

}  // namespace

std::string bashCompletion() {
    std::string text = R"(# bash completion for lumivastor

_lumivastor() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb=${COMP_WORDS[1]}
    COMPREPLY=()
    # "--option=value" comes as three words.
    if [ "$word" = = ]; then
        word=
    elif [ "$before" = = ] && [ "$COMP_CWORD" -gt 2 ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    [[ $verb != -* ]] || verb=
    case "$verb $before" in
)";
    text += bashValues("", programOptions());
    for (const Verb* verb : allVerbs()) text += bashValues(verb->name, verb->options);
    text += "    esac\n    if [ \"$COMP_CWORD\" -eq 1 ]; then\n        mapfile -t COMPREPLY < <(compgen -W " +
            inQuotes(verbNames() + " " + optionNames(programOptions())) +
            " -- \"$word\")\n        return\n    fi\n    case \"$verb\" in\n";
    for (const Verb* verb : allVerbs()) {
        text += "        " + std::string(verb->name) + ")\n            if [[ $word == -* ]]; then\n" +
                "                mapfile -t COMPREPLY < <(compgen -W " +
                inQuotes(optionNames(verb->options) + " " + std::string(kHelpOption.name)) + " -- \"$word\")\n" +
                "            else\n                " + bashAction(verb->positional) + "\n            fi ;;\n";
    }
    return text + "    esac\n}\n\ncomplete -F _lumivastor lumivastor\n";
}

std::string zshCompletion() {
    std::string text =
        "#compdef lumivastor\n\nlocal context state state_descr line\ntypeset -A opt_args\n\n_arguments -C \\\n";
    for (const OptionSpec& option : programOptions()) text += "    " + zshOption(option) + " \\\n";
    text += "    '1:Befehl:->verb' '*::Angaben:->rest'\n\ncase $state in\nverb)\n    local -a verbs=(\n";
    for (const Verb* verb : allVerbs()) {
        text += "        " + inQuotes(std::string(verb->name) + ":" + zshText(verb->summary)) + "\n";
    }
    text += "    )\n    _describe -t commands Befehl verbs ;;\nrest)\n    case $line[1] in\n";
    for (const Verb* verb : allVerbs()) {
        text += "    " + std::string(verb->name) + ")\n        _arguments \\\n";
        for (const OptionSpec& option : verb->options) text += "            " + zshOption(option) + " \\\n";
        text += "            " + zshOption(kHelpOption);
        if (!verb->positional.empty()) {
            text += " \\\n            " +
                    inQuotes("1:" + std::string(verb->positional) + ":" + zshAction(verb->positional));
        }
        text += " ;;\n";
    }
    return text + "    esac ;;\nesac\n";
}

std::string fishCompletion() {
    std::string text = "# fish completion for lumivastor\n\ncomplete -c lumivastor -f\n";
    const std::string none = inQuotes("not __fish_seen_subcommand_from " + verbNames());
    for (const OptionSpec& option : programOptions()) text += fishOption(none, option);
    for (const Verb* verb : allVerbs()) {
        text += "complete -c lumivastor -n " + none + " -a " + std::string(verb->name) + " -d " +
                inQuotes(verb->summary) + "\n";
    }
    for (const Verb* verb : allVerbs()) {
        const std::string condition = inQuotes("__fish_seen_subcommand_from " + std::string(verb->name));
        text += "\n";
        for (const OptionSpec& option : verb->options) text += fishOption(condition, option);
        text += fishOption(condition, kHelpOption);
        if (!verb->positional.empty()) {
            text += "complete -c lumivastor -n " + condition + fishAction(verb->positional) + "\n";
        }
    }
    return text;
}

}  // namespace lumivastor::cli
