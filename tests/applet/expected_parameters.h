#pragma once

#include <cstdint>

/** What callers know of the fixed parameters, apart from the applet's own tables. */
namespace qelm::test {

struct ExpectedParameter {
    std::int32_t index;
    const char* name;
    std::int32_t id;
    const char* description;
};
inline constexpr ExpectedParameter expectedParameters[] = {
#define FIXED_PARAMETER(index, name, id, description) {index, name, id, description},
#include "fixed_parameters.inc"
};

struct ExpectedDescription {
    const char* category;
    const char* displayName;
    const char* name;
    const char* kind;
    const char* particulars; ///< minimum, maximum and increment; an enumeration; a filter
    const char* unit;
    std::int32_t access, level;
};
inline constexpr ExpectedDescription expectedDescriptions[] = {
#define DESCRIBED(category, displayName, name, kind, particulars, unit, access, level)                                 \
    {category, displayName, name, kind, particulars, unit, access, level},
#define ENTRY(enumeration, name, value, text)
#include "described_parameters.inc"
};

struct ExpectedEntry {
    const char* enumeration;
    const char* name;
    std::int32_t value;
    const char* text;
};
inline constexpr ExpectedEntry expectedEntries[] = {
#define DESCRIBED(category, displayName, name, kind, particulars, unit, access, level)
#define ENTRY(enumeration, name, value, text) {enumeration, name, value, text},
#include "described_parameters.inc"
};

} // namespace qelm::test
