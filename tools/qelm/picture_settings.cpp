#include "picture_settings.h"

#include "qelm/host/lookup_table.h"

namespace qelm::tool {
namespace {

// In the order that brings them back from the plain ones: sizes before offsets, and last the type, which loads a file.
constexpr const char* names[] = {"FG_PROCESSING_OFFSET", "FG_PROCESSING_GAIN", "FG_PROCESSING_GAMMA",
                                 "FG_PROCESSING_INVERT", "FG_NOISEFILTER",     "FG_FORMAT",
                                 "FG_BITALIGNMENT",      "FG_WIDTH",           "FG_HEIGHT",
                                 "FG_XOFFSET",           "FG_YOFFSET",         "FG_LUT_TYPE"};

constexpr const char* plain[] = {"FG_LUT_TYPE=LUT_TYPE_PROCESSING",
                                 "FG_PROCESSING_OFFSET=0",
                                 "FG_PROCESSING_GAIN=1",
                                 "FG_PROCESSING_GAMMA=1",
                                 "FG_PROCESSING_INVERT=FG_OFF",
                                 "FG_NOISEFILTER=FG_OFF",
                                 "FG_FORMAT=FG_GRAY16",
                                 "FG_BITALIGNMENT=FG_RIGHT_ALIGNED",
                                 "FG_XOFFSET=0",
                                 "FG_YOFFSET=0"};

} // namespace

PictureSettings::PictureSettings(Session& session) : session_(session), table_(host::readLookupTable(session.board())) {
    for (const char* name : names) {
        const host::Reference reference = host::parseReference(session.parameters(), name);
        before_.push_back({reference, host::readValue(session.board(), reference)});
    }
}

void PictureSettings::makePlain() {
    for (const char* setting : plain) {
        session_.change(setting);
    }
    const host::Board& board = session_.board();
    session_.change("FG_WIDTH=" + std::to_string(board.get<std::uint32_t>(FG_CAMERA_WIDTH)));
    session_.change("FG_HEIGHT=" + std::to_string(board.get<std::uint32_t>(FG_CAMERA_HEIGHT)));
}

void PictureSettings::restore() {
    for (const host::Assignment& assignment : before_) {
        host::writeValue(session_.board(), assignment);
    }
    const std::vector<std::uint32_t> table = host::readLookupTable(session_.board());
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        if (table[i] != table_[i]) { // entries that were set one by one
            session_.board().change(FG_LUT_VALUE, LutEntry{table_[i], i});
        }
    }
}

} // namespace qelm::tool
