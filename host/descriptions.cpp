#include "qelm/host/descriptions.h"

#include "qelm/host/numbers.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace qelm::host {
namespace {

/** Cuts the text up to the separator off its front. @return nothing, and leaves the text, when there is no separator */
std::optional<std::string_view> takeUntil(std::string_view& text, std::string_view separator) {
    const size_t end = text.find(separator);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view front = text.substr(0, end);
    text.remove_prefix(end + separator.size());
    return front;
}

/** "FG_ON = 1 (On)" */
std::optional<EnumerationEntry> parseEntry(std::string_view text) {
    const auto name = takeUntil(text, " = ");
    const auto number = takeUntil(text, " (");
    std::int32_t value = 0;
    if (!name || !number || parseNumber(*number, value) != std::errc{} || !text.ends_with(')')) {
        return std::nullopt;
    }
    return EnumerationEntry{std::string(*name), value, std::string(text.substr(0, text.size() - 1))};
}

ParameterKind kindNamed(std::string_view name, ParameterKind otherwise) {
    for (const ParameterKind kind : {ParameterKind::integer, ParameterKind::wideInteger, ParameterKind::floatingPoint,
                                     ParameterKind::enumeration, ParameterKind::fileName, ParameterKind::text}) {
        if (kindName(kind) == name) {
            return kind;
        }
    }
    return otherwise;
}

/** Takes over one line, but for the entries of enumerations. */
void readLine(std::string_view key, std::string_view value, Parameter& parameter) {
    if (key == "Display name") {
        parameter.displayName = value;
    } else if (key == "Category") {
        parameter.category = value;
    } else if (key == "Kind") {
        parameter.kind = kindNamed(value, parameter.kind);
    } else if (key == "Access") {
        parseNumber(value, parameter.access);
    } else if (key == "Minimum") {
        parseNumber(value, parameter.minimum);
    } else if (key == "Maximum") {
        parseNumber(value, parameter.maximum);
        parseNumber(value, parameter.wideMaximum);
    } else if (key == "Increment") {
        parseNumber(value, parameter.increment);
        if (parameter.increment == std::numeric_limits<double>::epsilon()) { // the mark of continuous values
            parameter.increment = 0.0;
        }
    } else if (key == "Filter") {
        parameter.filter = value;
    } else if (key == "Unit") {
        parameter.unit = value;
    } else if (key == "Description") {
        parameter.description = value;
    }
}

std::string unescaped(std::string_view text) {
    static constexpr std::pair<std::string_view, char> entities[] = {
        {"&quot;", '"'}, {"&amp;", '&'}, {"&apos;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}};
    std::string plain;
    while (!text.empty()) {
        const auto* entity = std::ranges::find_if(entities, [=](const auto& e) { return text.starts_with(e.first); });
        const bool found = entity != std::end(entities);
        plain += found ? entity->second : text.front();
        text.remove_prefix(found ? entity->first.size() : 1);
    }
    return plain;
}

} // namespace

void readInformation(std::string_view information, Parameter& parameter) {
    std::vector<EnumerationEntry> entries;
    while (const auto whole = takeUntil(information, "\n")) { // every line ends with a break
        std::string_view line = *whole;
        const std::string_view key = takeUntil(line, ": ").value_or("");
        if (key != "Entry") {
            readLine(key, line, parameter);
        } else if (auto entry = parseEntry(line)) {
            entries.push_back(std::move(*entry));
        }
    }
    if (!entries.empty()) {
        parameter.entries = std::move(entries);
    }
}

std::string readDescriptionXml(const Board& board) {
    constexpr std::int32_t port = 0;
    std::string document;
    size_t size = 0;
    std::int32_t code = board.applet()->Fg_getParameterInfoXML(board, port, nullptr, &size);
    while (code >= 0 && document.size() < size) { // limits that move between the calls may make it longer
        document.resize(size);
        code = board.applet()->Fg_getParameterInfoXML(board, port, document.data(), &size);
        if (document.size() < size) {
            code = 0;
        }
    }
    if (code < 0) {
        throw AppletError(code, "reading the description of the parameters was refused");
    }
    document.resize(size - 1); // without the terminating zero
    return document;
}

std::map<std::string, std::int32_t> parameterAddresses(std::string_view xml) {
    // <IntReg Name="FG_WIDTH_Reg">, <FloatReg ...> likewise, <StringReg Name="FG_HAP_FILE">
    std::map<std::string, std::int32_t> addresses;
    while (const auto before = takeUntil(xml, "Reg Name=\"")) {
        std::string_view content = takeUntil(xml, "Reg>").value_or("");
        std::string_view name = takeUntil(content, "\">").value_or("");
        if (!before->ends_with("<String")) {
            name.remove_suffix(name.ends_with("_Reg") ? 4 : 0);
        }
        std::int32_t address = 0;
        takeUntil(content, "<Address>");
        if (parseNumber(takeUntil(content, "<").value_or(""), address) == std::errc{}) {
            addresses.emplace(unescaped(name), address);
        }
    }
    return addresses;
}

} // namespace qelm::host
