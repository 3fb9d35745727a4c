// The lookup table: entries and files.

#include "serve/api.h"
#include "serve/scratch_file.h"

#include "lookup_table_file.h"
#include "output_file.h"

#include "qelm/host/lookup_table.h"

namespace qelm::server {
namespace {

/** From now on the table is the user's. One that is already stays as it is: choosing it anew would read its file. */
void useCustomTable(host::Board& board) {
    if (board.get<std::uint32_t>(FG_LUT_TYPE) != LUT_TYPE_CUSTOM) {
        board.change(FG_LUT_TYPE, std::uint32_t{LUT_TYPE_CUSTOM});
    }
}

} // namespace

Answer getLut(ServedBoard& served, const Call& /*call*/) {
    return {jsonResponse(served.live().run([](host::Board& board) {
        return Json{{"values", host::readLookupTable(board)}, {"type", board.get<std::uint32_t>(FG_LUT_TYPE)}};
    }))};
}

Answer postLut(ServedBoard& served, const Call& call) {
    constexpr std::int64_t tableSize = host::lookupTableSize;
    const auto first = call.integer("first", 0, tableSize - 1, 0);
    const auto list = call.json.find("values");
    if (list == call.json.end() || !list->is_array() || static_cast<std::int64_t>(list->size()) > tableSize - first) {
        throw ApiError(400, R"("values" has to be a list of numbers that fits into the table.)");
    }
    std::vector<LutEntry> entries;
    for (const Json& value : *list) {
        if (!value.is_number_integer() || value.get<std::int64_t>() < 0 ||
            value.get<std::int64_t>() > host::largestLookupValue) {
            throw ApiError(400, "The values of a lookup table are whole numbers from 0 to 4095.");
        }
        entries.push_back({value.get<std::uint32_t>(),
                           static_cast<std::uint32_t>(first) + static_cast<std::uint32_t>(entries.size())});
    }
    const auto change = served.change("lookup table", [&](host::Board& board) {
        useCustomTable(board);
        for (const LutEntry& entry : entries) {
            board.change(FG_LUT_VALUE, entry);
        }
    });
    return {jsonResponse({{"changed", change.changed}})};
}

Answer getLutFile(ServedBoard& served, const Call& /*call*/) {
    const ScratchFile file(served, ".lut");
    served.live().run([&](host::Board&) { served.session().useFile("FG_LUT_SAVE_FILE", file.path()); });
    return fileAnswer(file.path(), "application/octet-stream", "table.lut");
}

Answer putLutFile(ServedBoard& served, const Call& call) {
    ScratchFile file(served, ".lut");
    tool::writeTemporaryFile(file.path(), call.request.body);
    const auto change = served.change("lookup table file", [&](host::Board& board) {
        tool::Session trial(served.applet()); // the board keeps its table when the file is none
        const auto use = [&file](tool::Session& session) { session.useFile("FG_LUT_CUSTOM_FILE", file.path()); };
        useCustomTable(trial.board());
        use(trial);
        if (const std::string gap = tool::lookupTableGap(trial); !gap.empty()) {
            throw ApiError(409, "Nothing has changed: " + gap + ".");
        }
        useCustomTable(board);
        use(served.session());
    });
    file.keep();
    return {jsonResponse({{"changed", change.changed}})};
}

} // namespace qelm::server
