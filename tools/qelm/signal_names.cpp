#include "signal_names.h"

#include "virtual_board.h"

namespace qelm::tool {

std::string signalName(std::uint32_t signal) {
    const struct {
        std::uint32_t first;
        const char* name;
        bool isNumbered;
    } groups[] = {
        {VIRTUAL_BOARD_SIGNAL_FRAME, "frame", false},
        {VIRTUAL_BOARD_SIGNAL_EXPOSURE, "exposure", false},
        {VIRTUAL_BOARD_SIGNAL_OUTPUT, "output ", true},
        {VIRTUAL_BOARD_SIGNAL_CONTROL, "camera control ", true},
        {VIRTUAL_BOARD_SIGNAL_GENERATOR, "pulse form gen. ", true},
        {VIRTUAL_BOARD_SIGNAL_QUEUE, "queue", false},
        {VIRTUAL_BOARD_SIGNAL_INPUT, "input ", true},
    };
    for (const auto& group : groups) {
        if (signal >= group.first) {
            return group.name + (group.isNumbered ? std::to_string(signal - group.first) : "");
        }
    }
    return {};
}

} // namespace qelm::tool
