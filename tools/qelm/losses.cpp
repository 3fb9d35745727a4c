#include "losses.h"

#include "stimulus.h"

namespace qelm::tool {
namespace {

constexpr struct {
    const char* event; // the end of the design's name
    const char* key;
    const char* label;
    const char* one;
    const char* many;
    const char* meaning;
} kinds[] = {
    {"_Cam0Override", "lostTriggers", "lost triggers", "trigger was lost", "triggers were lost",
     "triggers come faster than FG_TRIGGER_FRAMESPERSECOND lets frames be taken, or find the queue full "
     "(FG_TRIGGER_EXCEEDED_PERIOD_LIMITS)"},
    {"_Cam0MissingFrame", "missingFrames", "missing frames", "frame is missing", "frames are missing",
     "the camera has not begun to answer when the next pulse comes (FG_MISSING_CAMERA_FRAME_RESPONSE)"},
    {"_Overflow_Overflow", "overflows", "lost pictures", "picture was lost on the board",
     "pictures were lost on the board", "its buffer was full (FG_OVERFLOW)"},
};

} // namespace

Losses::Losses(const Session& session) : session_(session) {
    for (const auto& kind : kinds) {
        counts_[kind.key] = 0;
    }
    require(session_.board().applet().virtualBoard()->recordEvents(session_.board().virtualBoard(), 1),
            "recording events failed");
}

const char* Losses::add(const std::string& designName) {
    for (const auto& kind : kinds) {
        if (designName.ends_with(kind.event)) {
            ++counts_[kind.key];
            return kind.label;
        }
    }
    return nullptr;
}

void Losses::collect() {
    const auto& control = *session_.board().applet().virtualBoard();
    VirtualBoard* board = session_.board().virtualBoard();
    std::size_t count = 0;
    require(control.eventCount(board, &count), "reading the events failed");
    for (size_t position = 0; position < count; ++position) {
        VirtualBoardEvent event{};
        require(control.eventAt(board, position, &event), "reading the events failed");
        add(event.name);
    }
    require(control.recordEvents(board, 1), "recording events failed");
}

void Losses::warn() const {
    for (const auto& kind : kinds) {
        if (const std::uint64_t count = counts_.at(kind.key); count != 0) {
            printWarning(std::to_string(count) + " " + (count == 1 ? kind.one : kind.many) + ": " + kind.meaning);
        }
    }
}

Json Losses::json() const {
    Json json;
    for (const auto& kind : kinds) {
        json[kind.key] = counts_.at(kind.key);
    }
    return json;
}

} // namespace qelm::tool
