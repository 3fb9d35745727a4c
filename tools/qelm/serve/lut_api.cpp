// The lookup table: entries and files.

#include "serve/api.h"

#include "output_file.h"

#include "qelm/host/lookup_table.h"

#include <filesystem>

namespace qelm::server {

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
        if (board.get<std::uint32_t>(FG_LUT_TYPE) != LUT_TYPE_CUSTOM) {
            board.change(FG_LUT_TYPE, std::uint32_t{LUT_TYPE_CUSTOM});
        }
        for (const LutEntry& entry : entries) {
            board.change(FG_LUT_VALUE, entry);
        }
    });
    return {jsonResponse({{"changed", change.changed}})};
}

Answer getLutFile(ServedBoard& served, const Call& /*call*/) {
    const std::filesystem::path file = served.newFile(".lut");
    served.live().run([&](host::Board&) { served.session().useFile("FG_LUT_SAVE_FILE", file); });
    Answer answer = fileAnswer(file, "application/octet-stream", "table.lut");
    std::filesystem::remove(file);
    return answer;
}

Answer putLutFile(ServedBoard& served, const Call& call) {
    const std::filesystem::path file = served.newFile(".lut"); // stays: a configuration names it
    tool::writeTemporaryFile(file, call.request.body);
    const auto change = served.change("lookup table file", [&](host::Board& board) {
        board.change(FG_LUT_TYPE, std::uint32_t{LUT_TYPE_CUSTOM});
        served.session().useFile("FG_LUT_CUSTOM_FILE", file);
    });
    return {jsonResponse({{"changed", change.changed}})};
}

} // namespace qelm::server
