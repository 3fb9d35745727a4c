#pragma once

#include <string>
#include <string_view>
#include <vector>

/** The command line described for others than its parser: the manual page and the completion of shells. */
namespace qelm::tool {

struct OptionText {
    std::vector<std::string> names; ///< "-o", "--output"; of what stands by itself the one, "NAME=VALUE"
    std::string value;              ///< what follows, "FILE"; empty for a flag
    std::string description;
    bool isPositional = false;
};

struct VerbText {
    std::string name;
    std::string description;
    std::string details; ///< text and examples, as its help ends with
    std::vector<OptionText> options{};
};

struct CommandReference {
    VerbText program;
    std::vector<VerbText> verbs;
};

/** In the mark-up of man(7). */
std::string manualPage(const CommandReference& reference, std::string_view version);

/**
 * What a shell reads to complete command lines: verbs, options, names of parameters and of their enumerations' values.
 *
 * @param shell "bash", "zsh" or "fish" @throws std::invalid_argument for another
 */
std::string completion(const CommandReference& reference, std::string_view shell);

} // namespace qelm::tool
