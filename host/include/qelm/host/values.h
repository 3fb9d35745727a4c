#pragma once

#include "qelm/host/parameters.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

inline bool operator==(const LutEntry& left, const LutEntry& right) {
    return left.value == right.value && left.index == right.index;
}

/** Parameter values as text, and access with errors that say what is allowed. */
namespace qelm::host {

/** Integers and enumerations are a std::uint32_t, wide integers a std::uint64_t. */
using Value = std::variant<std::uint32_t, std::uint64_t, double, std::string, LutEntry>;

/** A text that is no request at all: no number, no name, no '='. Its message is a whole sentence. */
class SyntaxError : public std::invalid_argument {
  public:
    using std::invalid_argument::invalid_argument;
};

/** A parameter, or of the lookup table one entry. */
struct Reference {
    const Parameter* parameter;
    std::uint32_t index = 0; ///< of lookup-table entries

    /** "FG_WIDTH", "FG_LUT_VALUE[17]" */
    std::string text() const;
};

struct Assignment {
    Reference reference;
    Value value;
};

/** The parameter of that name. @throws AppletError that suggests the nearest name when there is none */
const Parameter& findParameter(std::span<const Parameter> parameters, std::string_view name);
/** Reads "NAME" or, for the lookup table, "NAME[INDEX]". @throws AppletError for an unknown name, SyntaxError */
Reference parseReference(std::span<const Parameter> parameters, std::string_view text);
/**
 * Reads "NAME=VALUE". Values: numbers in decimal or with 0x, floating-point numbers with a point in every locale,
 * symbolic names of enumeration values, file names.
 *
 * @throws AppletError for an unknown name or a value that no such parameter takes, SyntaxError
 */
Assignment parseAssignment(std::span<const Parameter> parameters, std::string_view text);

/** "512", "1.5", "FG_GRAY (3)", a file name */
std::string formatValue(const Parameter& parameter, const Value& value);

/** @throws AppletError */
Value readValue(const Board& board, const Reference& reference);
/** @throws AppletError with what the board's applet allows now */
void writeValue(Board& board, const Assignment& assignment);

} // namespace qelm::host
