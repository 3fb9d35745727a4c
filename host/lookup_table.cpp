#include "qelm/host/lookup_table.h"

namespace qelm::host {

std::vector<std::uint32_t> readLookupTable(const host::Board& board) {
    std::vector<std::uint32_t> table;
    table.reserve(lookupTableSize);
    for (std::uint32_t i = 0; i < lookupTableSize; ++i) {
        LutEntry entry{0, i};
        if (const std::int32_t code = board.get(FG_LUT_VALUE, entry); code != 0) {
            throw host::AppletError(code, "reading the lookup table was refused");
        }
        table.push_back(entry.value);
    }
    return table;
}

} // namespace qelm::host
