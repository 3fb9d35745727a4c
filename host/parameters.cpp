#include "qelm/host/parameters.h"

#include "parameters/rows.h"
#include "qelm/host/descriptions.h"
#include "qelm/host/numbers.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace qelm::host {
namespace {

ParameterKind kindOf(const parameters::Row& row) {
    if (row.enumeration != nullptr) {
        return ParameterKind::enumeration;
    }
    if (row.filter != nullptr) {
        return ParameterKind::fileName;
    }
    switch (row.type) {
    case parameters::ValueType::float64:
        return ParameterKind::floatingPoint;
    case parameters::ValueType::text:
        return ParameterKind::text;
    case parameters::ValueType::lutEntry:
        return ParameterKind::lutEntry;
    default:
        return ParameterKind::integer;
    }
}

Parameter fixedParameter(const parameters::Row& row) {
    Parameter parameter{.id = row.id, .name = row.name, .description = row.description, .kind = kindOf(row)};
    parameter.category = row.category == nullptr ? "" : row.category->path();
    parameter.displayName = row.displayName;
    parameter.unit = row.unit;
    parameter.minimum = row.minimum;
    parameter.maximum = row.maximum;
    parameter.increment = row.step == parameters::continuous ? 0.0 : row.step;
    parameter.access = row.access;
    parameter.filter = row.filter == nullptr ? "" : row.filter;
    if (row.enumeration != nullptr) {
        for (const parameters::Enumerator& entry : row.enumeration->entries()) {
            parameter.entries.push_back({entry.name, entry.value, entry.text});
        }
    }
    return parameter;
}

struct FixedTable {
    std::vector<Parameter> parameters;
    std::vector<std::string> categories;
};

FixedTable makeFixedTable() {
    FixedTable table;
    for (const parameters::Row* row : parameters::orders::registry) {
        table.parameters.push_back(fixedParameter(*row));
    }
    for (const parameters::Category& category : parameters::categories) {
        table.categories.push_back(category.path());
    }
    return table;
}

const FixedTable& fixedTable() {
    static const FixedTable table = makeFixedTable();
    return table;
}

/**
 * A parameter as the applet tells it. What it leaves out, the sentence that describes a parameter and all about those
 * that user interfaces do not show, is known of this project's applet, by name and number: other applets may have
 * parameters of that name with other values.
 */
Parameter describedParameter(const Board& board, std::int32_t id, const char* name) {
    const Parameter* known = findFixedParameter(name);
    if (known != nullptr && known->id != id) {
        known = nullptr;
    }
    const char* information = board.applet()->Fg_getParameterInfo(board, id);
    if (information == nullptr) {
        return known != nullptr ? *known : Parameter{.id = id, .name = name, .access = 3};
    }
    Parameter parameter{.id = id, .name = name, .access = 3};
    readInformation(information, parameter);
    if (known != nullptr && parameter.description.empty()) {
        parameter.description = known->description;
    }
    return parameter;
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

const EnumerationEntry* Parameter::findEntry(std::int32_t value) const {
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
    const std::int32_t count = applet->Fg_getNrOfParameter(board);
    std::optional<std::map<std::string, std::int32_t>> addresses;
    for (std::int32_t index = 0; index < count; ++index) {
        const char* name = applet->Fg_getParameterName(board, index);
        if (name == nullptr) {
            continue;
        }
        std::int32_t id = applet->Fg_getParameterId(board, index);
        if (id < 0) { // design parameters are listed by name; where they are told apart by number is the document
            if (!addresses) {
                addresses = parameterAddresses(readDescriptionXml(board));
            }
            const auto address = addresses->find(name);
            id = address == addresses->end() ? id : address->second;
        }
        registered.push_back(describedParameter(board, id, name));
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
