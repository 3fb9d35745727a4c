#include "qelm/host/parameters.h"

#include "parameters/enumerations.h"
#include "qelm/host/descriptions.h"
#include "qelm/host/numbers.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace qelm::host {
namespace {

/** The fixed parameters by identifier, while the information rows are read into them. */
class RowReader {
  public:
    explicit RowReader(std::vector<Parameter>& all) {
        for (Parameter& parameter : all) {
            byId_[parameter.id] = &parameter;
        }
    }

    Parameter& describe(int32_t id, ParameterKind kind, const std::string& category, const char* displayName,
                        int32_t access) {
        Parameter& parameter = *byId_.at(id);
        parameter.kind = kind;
        parameter.category = category;
        parameter.displayName = displayName;
        parameter.access = access;
        return parameter;
    }

    void limit(Parameter& parameter, double minimum, double maximum, double increment, const char* unit) {
        parameter.minimum = minimum;
        parameter.maximum = maximum;
        parameter.increment = increment;
        parameter.unit = unit;
    }

    void enumerate(Parameter& parameter, const parameters::Enumeration& enumeration) {
        for (const parameters::Enumerator& entry : enumeration.entries()) {
            parameter.entries.push_back({entry.name, entry.value, entry.text});
        }
    }

  private:
    std::map<int32_t, Parameter*> byId_;
};

struct FixedTable {
    std::vector<Parameter> parameters;
    std::vector<std::string> categories;
};

FixedTable makeFixedTable() {
    FixedTable table;
    std::vector<Parameter>& all = table.parameters;
    // Until a row says otherwise a parameter is a number that the runtime serves, to be read only.
#define FG_PARAMETER(parameterName, identifier, text)                                                                  \
    all.push_back({.id = (identifier), .name = #parameterName, .description = (text), .access = 1});
#include "zantor_obvelline_qx4_rk/parameter_table.inc"

    RowReader reader(all);
    constexpr double doubleEpsilon = 0.0; // the rows' mark of continuous values
    const std::string root;
    const auto addCategory = [&table](const std::string& parent, const char* name) {
        return table.categories.emplace_back(parent.empty() ? name : parent + " / " + name);
    };
#define INFO_CATEGORY(symbol, parent, name) const std::string symbol = addCategory(parent, name);
#define INFO_INTEGER(category, shown, parameter, minimum, maximum, increment, unit, access, level)                     \
    reader.limit(reader.describe(parameter, ParameterKind::integer, category, shown, access), minimum, maximum,        \
                 increment, unit);
#define INFO_FLOAT(category, shown, parameter, minimum, maximum, increment, unit, access, level)                       \
    reader.limit(reader.describe(parameter, ParameterKind::floatingPoint, category, shown, access), minimum, maximum,  \
                 increment, unit);
#define INFO_ENUMERATION(category, shown, parameter, table, access)                                                    \
    reader.enumerate(reader.describe(parameter, ParameterKind::enumeration, category, shown, access),                  \
                     parameters::enumerations::table);
#define INFO_FILE_NAME(category, shown, parameter, pattern, access)                                                    \
    reader.describe(parameter, ParameterKind::fileName, category, shown, access).filter = pattern;
#include "description/information_rows.inc"

    reader.describe(FG_LUT_VALUE, ParameterKind::lutEntry, "", "", 7);
    return table;
}

const FixedTable& fixedTable() {
    static const FixedTable table = makeFixedTable();
    return table;
}

size_t distance(std::string_view left, std::string_view right) {
    // Optimal string alignment, three rows at a time.
    std::vector<size_t> beforeLast(right.size() + 1);
    std::vector<size_t> last(right.size() + 1);
    std::vector<size_t> current(right.size() + 1);
    for (size_t column = 0; column <= right.size(); ++column) {
        current[column] = column;
    }
    for (size_t row = 1; row <= left.size(); ++row) {
        beforeLast.swap(last);
        last.swap(current);
        current[0] = row;
        for (size_t column = 1; column <= right.size(); ++column) {
            const size_t change = left[row - 1] == right[column - 1] ? 0 : 1;
            current[column] = std::min({last[column] + 1, current[column - 1] + 1, last[column - 1] + change});
            if (row > 1 && column > 1 && left[row - 1] == right[column - 2] && left[row - 2] == right[column - 1]) {
                current[column] = std::min(current[column], beforeLast[column - 2] + 1);
            }
        }
    }
    return current.back();
}

std::string upperCase(std::string_view text) {
    std::string upper(text);
    for (char& letter : upper) {
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
    }
    return upper;
}

} // namespace

std::string_view kindName(ParameterKind kind) {
    constexpr std::array<std::string_view, 7> names{"integer",   "64-bit integer", "floating point",    "enumeration",
                                                    "file name", "text",           "lookup table entry"};
    return names[static_cast<size_t>(kind)];
}

const EnumerationEntry* Parameter::findEntry(int32_t value) const {
    const auto entry = std::ranges::find(entries, value, &EnumerationEntry::value);
    return entry == entries.end() ? nullptr : &*entry;
}

const EnumerationEntry* Parameter::findEntry(std::string_view entryName) const {
    const auto entry = std::ranges::find(entries, entryName, &EnumerationEntry::name);
    return entry == entries.end() ? nullptr : &*entry;
}

std::string Parameter::allowedValues() const {
    switch (kind) {
    case ParameterKind::enumeration: {
        std::string text;
        for (const EnumerationEntry& entry : entries) {
            if (!text.empty()) {
                text += &entry == &entries.back() ? " or " : ", ";
            }
            text += entry.name + " (" + std::to_string(entry.value) + ")";
        }
        return text;
    }
    case ParameterKind::fileName:
        return "a file name (" + filter + ")";
    case ParameterKind::text:
        return "a text";
    case ParameterKind::wideInteger:
        return "0 to " + std::to_string(wideMaximum);
    case ParameterKind::lutEntry:
        return "entries 0 to 4095 with values 0 to 4095";
    case ParameterKind::integer:
    case ParameterKind::floatingPoint:
        break;
    }
    if (!hasRange()) {
        return {};
    }
    if (maximum < minimum) {
        return "no value as long as other parameters stay as they are";
    }
    if (minimum == maximum) {
        return "only " + formatNumber(minimum) + (unit.empty() ? "" : " " + unit);
    }
    std::string text = formatNumber(minimum) + " to " + formatNumber(maximum) + (unit.empty() ? "" : " " + unit);
    if (kind == ParameterKind::integer && increment > 1.0) { // floating-point values are rounded, not refused
        text += " in steps of " + formatNumber(increment);
    }
    return text;
}

const std::vector<Parameter>& fixedParameters() {
    return fixedTable().parameters;
}

const std::vector<std::string>& fixedCategories() {
    return fixedTable().categories;
}

const Parameter* findFixedParameter(std::string_view name) {
    const auto parameter = std::ranges::find(fixedParameters(), name, &Parameter::name);
    return parameter == fixedParameters().end() ? nullptr : &*parameter;
}

std::vector<Parameter> registeredParameters(const Board& board) {
    const Applet& applet = board.applet();
    std::vector<Parameter> registered;
    const int32_t count = applet->Fg_getNrOfParameter(board);
    std::optional<std::map<std::string, int32_t>> addresses;
    for (int32_t index = 0; index < count; ++index) {
        const char* name = applet->Fg_getParameterName(board, index);
        if (name == nullptr) {
            continue;
        }
        if (const Parameter* fixed = findFixedParameter(name)) {
            registered.push_back(withCurrentLimits(board, *fixed));
            continue;
        }
        int32_t id = applet->Fg_getParameterId(board, index);
        if (id < 0) { // design parameters are listed by name; where they are told apart by number is the document
            if (!addresses) {
                addresses = parameterAddresses(readDescriptionXml(board));
            }
            const auto address = addresses->find(name);
            id = address == addresses->end() ? id : address->second;
        }
        registered.push_back(withCurrentLimits(board, {.id = id, .name = name, .access = 3}));
    }
    return registered;
}

Parameter withCurrentLimits(const Board& board, Parameter parameter) {
    if (const char* information = board.applet()->Fg_getParameterInfo(board, parameter.id)) {
        readInformation(information, parameter);
    }
    return parameter;
}

std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates) {
    const std::string typed = upperCase(name);
    const std::string prefixed = "FG_" + typed;
    std::string_view nearest;
    size_t nearestDistance = std::max<size_t>(2, name.size() / 3) + 1;
    for (const std::string_view candidate : candidates) {
        const std::string upper = upperCase(candidate);
        const size_t candidateDistance = std::min(distance(typed, upper), distance(prefixed, upper));
        if (candidateDistance < nearestDistance) {
            nearestDistance = candidateDistance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace qelm::host
