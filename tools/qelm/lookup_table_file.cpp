#include "lookup_table_file.h"

#include "output.h"
#include "output_file.h"

#include "qelm/host/lookup_table.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>

namespace qelm::tool {
namespace {

/** How many entries the file says it has: the number in the first line with that word. */
std::size_t countIn(std::string_view text) {
    const std::size_t word = std::min(text.find("nrOfElements"), text.size());
    std::string_view line = text.substr(word, text.substr(word).find('\n'));
    line.remove_prefix(std::min(line.find_first_of("0123456789"), line.size()));
    std::size_t count = 0;
    std::from_chars(line.data(), line.data() + line.size(), count);
    return std::min<std::size_t>(count, host::lookupTableSize);
}

/** How many of them have a line of their own, from the first on: entry k is the next line with "k,". */
std::size_t linesIn(std::string_view text, std::size_t count) {
    std::size_t position = text.find("[gray]");
    for (std::size_t index = 0; index < count; ++index) {
        position = text.find(std::to_string(index) + ',', std::min(position, text.size()));
        // "117," holds "17," as well.
        if (position == text.npos || (text[position - 1] >= '0' && text[position - 1] <= '9')) {
            return index;
        }
        position = text.find('\n', position);
    }
    return count;
}

} // namespace

std::string lookupTableGap(const Session& session) {
    const auto valueOf = [&session](const char* name) -> std::optional<host::Value> {
        const auto& all = session.parameters();
        const auto found = std::ranges::find(all, name, &host::Parameter::name);
        return found == all.end() ? std::nullopt : session.read({&*found});
    };
    const auto file = valueOf("FG_LUT_CUSTOM_FILE");
    const auto* name = file ? std::get_if<std::string>(&*file) : nullptr;
    if (name == nullptr || name->empty() || valueOf("FG_LUT_TYPE") != host::Value(std::uint32_t{LUT_TYPE_CUSTOM})) {
        return {};
    }
    std::string text;
    try {
        constexpr std::size_t largest = std::size_t{64} << 20; // as the applet
        text = readFile(host::pathOf(*name), largest);
    } catch (const std::exception&) { // it was there when it was loaded
        return {};
    }
    const std::size_t count = countIn(text);
    const std::size_t lines = linesIn(text, count);
    if (count == 0) {
        return "the table file has no entries: the lookup table stays as it was";
    }
    if (lines < count) {
        return "the table file has no line for entry " + std::to_string(lines) +
               ": from there on, entries are 0 or another line's";
    }
    if (count < host::lookupTableSize) {
        return "the table file has " + std::to_string(count) + " entries: the following ones stay as they were";
    }
    return {};
}

void warnOfLookupTable(const Session& session, const host::Parameter& changed) {
    if (changed.id != FG_LUT_CUSTOM_FILE && changed.id != FG_LUT_TYPE) {
        return;
    }
    if (const std::string gap = lookupTableGap(session); !gap.empty()) {
        printWarning(gap);
    }
}

} // namespace qelm::tool
