#include "qelm/host/values.h"

#include "qelm/host/numbers.h"
#include "qelm/host/text.h"
#include "refusals.h"

#include <vector>

namespace qelm::host {
namespace {

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string suggestion(std::string_view name, const std::vector<std::string_view>& candidates) {
    const std::string_view nearest = nearestName(name, candidates);
    return nearest.empty() ? std::string{} : "Did you mean " + std::string(nearest) + "?";
}

std::string join(const std::string& first, const std::string& second) {
    return first.empty() || second.empty() ? first + second : first + " " + second;
}

std::string refusal(const Reference& reference, std::string_view value) {
    return reference.text() + " = " + (value.empty() ? quoted(value) : std::string(value)) + " was refused";
}

std::string allowed(const Parameter& parameter) {
    const std::string values = parameter.allowedValues();
    return values.empty() ? values : parameter.name + " takes " + values + ".";
}

AppletError outOfRange(const Reference& reference, std::string_view value, const std::string& hint = {}) {
    return {FG_ERROR_OUT_OF_RANGE, refusal(reference, value), join(hint, allowed(*reference.parameter))};
}

[[noreturn]] void refuseNoNumber(const Reference& reference, std::string_view value, const char* kind) {
    throw SyntaxError(join(refusal(reference, value) + ": that is not " + kind + ".", allowed(*reference.parameter)));
}

std::uint32_t parseWhole(const Reference& reference, std::string_view text) {
    // Wide, so that numbers beyond 32 bits and negative ones are told from what is no number.
    std::int64_t number = 0;
    const std::errc error = parseNumber(text, number);
    if (error == std::errc::invalid_argument) {
        refuseNoNumber(reference, text, "a whole number");
    }
    if (error != std::errc{} || number < 0 || number > UINT32_MAX) {
        throw outOfRange(reference, text);
    }
    return static_cast<std::uint32_t>(number);
}

std::uint64_t parseWide(const Reference& reference, std::string_view text) {
    std::uint64_t number = 0;
    const std::errc error = parseNumber(text, number);
    if (error == std::errc::invalid_argument && !text.starts_with('-')) {
        refuseNoNumber(reference, text, "a whole number");
    }
    if (error != std::errc{} || number > reference.parameter->wideMaximum) {
        throw outOfRange(reference, text);
    }
    return number;
}

double parseFloat(const Reference& reference, std::string_view text) {
    double number = 0.0;
    const std::errc error = parseNumber(text, number);
    if (error == std::errc{}) {
        return number;
    }
    if (error == std::errc::result_out_of_range) {
        throw outOfRange(reference, text);
    }
    std::uint32_t whole = 0; // hexadecimal
    if (parseNumber(text, whole) != std::errc{}) {
        refuseNoNumber(reference, text, "a number");
    }
    return whole;
}

std::uint32_t parseEntry(const Reference& reference, std::string_view text) {
    const Parameter& parameter = *reference.parameter;
    if (const EnumerationEntry* entry = parameter.findEntry(text)) {
        return static_cast<std::uint32_t>(entry->value);
    }
    std::int64_t number = 0;
    if (parseNumber(text, number) != std::errc::invalid_argument) {
        return parseWhole(reference, text);
    }
    std::vector<std::string_view> names;
    for (const EnumerationEntry& entry : parameter.entries) {
        names.push_back(entry.name);
    }
    throw outOfRange(reference, text, suggestion(text, names));
}

Value parseValue(const Reference& reference, std::string_view text) {
    switch (reference.parameter->kind) {
    case ParameterKind::integer:
        return parseWhole(reference, text);
    case ParameterKind::floatingPoint:
        return parseFloat(reference, text);
    case ParameterKind::enumeration:
        return parseEntry(reference, text);
    case ParameterKind::wideInteger:
        return parseWide(reference, text);
    case ParameterKind::fileName:
    case ParameterKind::text:
        return std::string(text);
    case ParameterKind::lutEntry:
        return LutEntry{parseWhole(reference, text), reference.index};
    }
    throw std::logic_error("unknown parameter kind");
}

/** A text as the applet takes it; the name of a file that exists may be its short one. */
std::string systemValue(const Parameter& parameter, const std::string& text) {
    return parameter.kind == ParameterKind::fileName ? systemFileName(pathOf(text)) : systemText(text);
}

/** What helps after a refusal with that code. */
std::string advice(const Board& board, const Parameter& parameter, std::int32_t code) {
    switch (code) {
    case FG_ERROR_NOT_AVAILABLE:
        return withCurrentLimits(board, parameter).isWritable() ? "" : parameter.name + " is read-only.";
    case FG_ERROR_OUT_OF_RANGE:
    case FG_ERROR_ALIGNMENT:
        return allowed(withCurrentLimits(board, parameter));
    default:
        return {};
    }
}

} // namespace

const Parameter& findParameter(std::span<const Parameter> parameters, std::string_view name) {
    std::vector<std::string_view> names;
    for (const Parameter& parameter : parameters) {
        if (parameter.name == name) {
            return parameter;
        }
        names.push_back(parameter.name);
    }
    throw AppletError(FG_ERROR_UNKNOWN, "there is no parameter " + quoted(name), suggestion(name, names));
}

std::string Reference::text() const {
    return parameter->kind == ParameterKind::lutEntry ? parameter->name + "[" + std::to_string(index) + "]"
                                                      : parameter->name;
}

Reference parseReference(std::span<const Parameter> parameters, std::string_view text) {
    if (text.empty()) {
        throw SyntaxError("A parameter name is missing: \"\" is none.");
    }
    const size_t bracket = text.find('[');
    Reference reference{&findParameter(parameters, text.substr(0, bracket))};
    const bool takesIndex = reference.parameter->kind == ParameterKind::lutEntry;
    if (!takesIndex && bracket == std::string_view::npos) {
        return reference;
    }
    if (!takesIndex) {
        throw SyntaxError(quoted(text) + ": " + reference.parameter->name + " has no index.");
    }
    if (bracket == std::string_view::npos || !text.ends_with(']') ||
        parseNumber(text.substr(bracket + 1, text.size() - bracket - 2), reference.index) != std::errc{}) {
        throw SyntaxError(quoted(text) + ": " + reference.parameter->name + " needs an index, as in " +
                          reference.parameter->name + "[0].");
    }
    return reference;
}

Assignment parseAssignment(std::span<const Parameter> parameters, std::string_view text) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) {
        throw SyntaxError(quoted(text) + " has no '=': an assignment is NAME=VALUE, as in FG_WIDTH=512.");
    }
    if (equals == 0) {
        throw SyntaxError(quoted(text) + " has no parameter name before the '='.");
    }
    const Reference reference = parseReference(parameters, text.substr(0, equals));
    return {reference, parseValue(reference, text.substr(equals + 1))};
}

std::string formatValue(const Parameter& parameter, const Value& value) {
    if (const auto* number = std::get_if<std::uint32_t>(&value)) {
        const EnumerationEntry* entry = parameter.findEntry(static_cast<std::int32_t>(*number));
        const std::string digits = std::to_string(*number);
        return entry == nullptr ? digits : std::string(entry->name) + " (" + digits + ")";
    }
    if (const auto* number = std::get_if<std::uint64_t>(&value)) {
        return std::to_string(*number);
    }
    if (const auto* number = std::get_if<double>(&value)) {
        return formatNumber(*number);
    }
    if (const auto* entry = std::get_if<LutEntry>(&value)) {
        return std::to_string(entry->value);
    }
    return std::get<std::string>(value);
}

Value readValue(const Board& board, const Reference& reference) {
    const Parameter& parameter = *reference.parameter;
    Value value = std::uint32_t{0};
    switch (parameter.kind) {
    case ParameterKind::floatingPoint:
        value = 0.0;
        break;
    case ParameterKind::wideInteger:
        value = std::uint64_t{0};
        break;
    case ParameterKind::fileName:
    case ParameterKind::text:
        value = std::string{};
        break;
    case ParameterKind::lutEntry:
        value = LutEntry{0, reference.index};
        break;
    case ParameterKind::integer:
    case ParameterKind::enumeration:
        break;
    }
    const std::int32_t code = std::visit([&](auto& place) { return board.get(parameter.id, place); }, value);
    if (code < 0) {
        throw AppletError(code, "Reading " + reference.text() + " was refused", advice(board, parameter, code));
    }
    if (auto* text = std::get_if<std::string>(&value)) {
        *text = utf8Text(*text);
    }
    return value;
}

void writeValue(Board& board, const Assignment& assignment) {
    const Parameter& parameter = *assignment.reference.parameter;
    const auto* text = std::get_if<std::string>(&assignment.value);
    const std::int32_t code =
        text != nullptr
            ? board.set(parameter.id, systemValue(parameter, *text))
            : std::visit([&](const auto& value) { return board.set(parameter.id, value); }, assignment.value);
    if (code < 0) {
        const std::string attempt = refusal(assignment.reference, formatValue(parameter, assignment.value));
        if (const auto reason = betterReason(assignment, code)) {
            throw AppletError(code, attempt, *reason);
        }
        throw AppletError(code, attempt, join(advice(board, parameter, code), clash(board, assignment, code)));
    }
}

} // namespace qelm::host
