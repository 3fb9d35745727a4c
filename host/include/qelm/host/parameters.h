#pragma once

#include "qelm/host/board.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qelm::host {

struct EnumerationEntry {
    std::string name; ///< symbolic name, e.g. "FG_GRAY16"
    std::int32_t value;
    std::string text; ///< what user interfaces show
};

enum class ParameterKind : std::uint8_t { integer, wideInteger, floatingPoint, enumeration, fileName, text, lutEntry };

/** @return "integer", "floating point", ... as in the applet's descriptions, or "lookup table entry" */
std::string_view kindName(ParameterKind kind);

/** What is known about a parameter besides its value. */
struct Parameter {
    std::int32_t id = 0;
    std::string name{};
    std::string description{};
    ParameterKind kind = ParameterKind::integer;
    std::string category{}; ///< "Trigger / Legacy"; empty, as the display name, for what user interfaces leave out
    std::string displayName{};
    std::string unit{};
    double minimum = 0.0; ///< limits of numbers; these and the increment are 0 when no range is stated
    double maximum = 0.0;
    std::uint64_t wideMaximum = 0; ///< of wide integers, which start at 0: more than a double can tell exactly
    double increment = 0.0;        ///< 0 for continuous values
    std::int32_t access = 0;       ///< bit value 1 read, 2 write
    std::string filter{};          ///< of file names, e.g. "*.lut"
    std::vector<EnumerationEntry> entries{};

    bool isWritable() const { return (access & 2) != 0; }
    bool hasRange() const { return minimum != 0.0 || maximum != 0.0 || increment != 0.0; }
    const EnumerationEntry* findEntry(std::int32_t value) const;
    const EnumerationEntry* findEntry(std::string_view entryName) const;

    /** "16 to 8192 pixel in steps of 16", "FG_GRAY (3) or FG_GRAY16 (1)", "a file name (*.lut)"; empty when unknown */
    std::string allowedValues() const;
};

/** The fixed parameters of this project's applet with their widest limits, in registry order. */
const std::vector<Parameter>& fixedParameters();
/** Their categories in the order of the tree: "Trigger", "Trigger / Legacy", ... */
const std::vector<std::string>& fixedCategories();
/** @return null when unknown */
const Parameter* findFixedParameter(std::string_view name);

/**
 * The parameters that the board's applet registers, in its order and as it describes them now, whichever applet that
 * is. What the applet does not tell is added where name and number are those of a fixed parameter.
 */
std::vector<Parameter> registeredParameters(const Board& board);

/** The parameter as the board's applet describes it now: limits and access follow other parameters. */
Parameter withCurrentLimits(const Board& board, Parameter parameter);

/**
 * The candidate that is most like a mistyped name: letter case aside, by letters missing, added, changed or swapped; a
 * forgotten "FG_" costs nothing. @return empty when none comes near
 */
std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates);

} // namespace qelm::host
