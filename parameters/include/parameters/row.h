#pragma once

#include "parameters/enumerations.h"
#include "zantor_obvelline_qx4_rk/applet.h"

#include <cstdint>
#include <limits>
#include <string>

/** The form of the rows that the build makes of parameters/parameters.toml, where every field is described. */
namespace qelm::parameters {

/** The step of a continuous value. */
inline constexpr double continuous = std::numeric_limits<double>::epsilon();

/** What callers hand over and expect behind the pointer of a set or get. */
enum class ValueType : std::uint8_t {
    unsigned32,
    signed32,
    float64,
    text,        ///< zero-terminated characters
    lutEntry,    ///< a LutEntry; a get finds the index in it
    description, ///< zero-terminated characters; a get finds a parameter's name there
};

enum class Use : std::uint8_t { settable, command, readOnly, live };
enum class ConfigurationUse : std::uint8_t { notSaved, keptAndApplied, kept, applied };
enum class TriggerSet : std::uint8_t { none, current, legacy, shared };
/** The limit that follows other parameters; it stands in the row at its widest, and the feature checks it. */
enum class Moving : std::uint8_t { none, minimum, maximum };

struct Category {
    const char* name;
    const Category* parent; ///< null at the top

    /** "Trigger / Trigger Input / Statistics" */
    std::string path() const { return parent == nullptr ? name : parent->path() + " / " + name; }
};

/** All that is known about a parameter before there is a board. Limits may follow other parameters then. */
struct Row {
    const char* name;
    std::int32_t id;
    const char* description;
    ValueType type;
    Use use;
    const Category* category = nullptr; ///< null for what user interfaces leave out
    const char* displayName = "";
    std::int32_t level = 1;
    std::int32_t access; ///< flags: 1 read, 2 write, 4 third access bit
    const Enumeration* enumeration = nullptr;
    double minimum = 0.0; ///< limits and step are 0 when no range is stated
    double maximum = 0.0;
    double step = 0.0;
    Moving moving = Moving::none;
    const char* unit = "";
    const char* filter = nullptr; ///< of file names
    double initial = 0.0;         ///< of numbers; every one is exact in a double. Texts begin empty.
    ConfigurationUse configuration = ConfigurationUse::notSaved;
    TriggerSet triggerSet = TriggerSet::none;

    constexpr bool hasLimits() const { return step != 0.0; }
};

/** The row of a parameter with values of that type. */
template <typename T>
struct RowOf : Row {};

} // namespace qelm::parameters
