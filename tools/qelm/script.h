#pragma once

#include "verbs.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/** Scripts of steps for one board, a step in each line, as text. */
namespace qelm::tool {

/** A line that is no step. Its message begins with the file and the line. */
class ScriptError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

enum class StepKind { set, get, load, camera, scene, wait, pulse, acquire, stop, grab, expect };

struct ScriptLine {
    std::size_t line; ///< from 1
    StepKind kind;
    std::vector<std::string> words{}; ///< settings, names, "SUBJECT", "==", "VALUE"; a file, options, a scene
    std::uint64_t nanoseconds = 0;    ///< of wait; of grab the time-out, 0 for the usual one
    std::optional<std::uint32_t> count{};
    PulseOptions pulses{}; ///< of pulse; of grab those that it gives itself

    /** The step without comments, blanks in one. */
    std::string text{};
};

/**
 * Reads a script. '#' begins a comment, quotes hold words with blanks together.
 *
 * @param name of the file, for messages
 * @throws ScriptError
 */
std::vector<ScriptLine> parseScript(const std::string& name, std::string_view text);

/** "file:12: sentence" */
std::string atLine(const std::string& name, std::size_t line, const std::string& sentence);

} // namespace qelm::tool
