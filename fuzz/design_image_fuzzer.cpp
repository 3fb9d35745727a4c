// Design images. An input is the description inside, which gets a sound header around it, or a whole image.

#include "fuzzer.h"

#include "model/crc32.h"
#include "surfaces/model_interface.h"
#include "vendor/nuvrod.h"
#include "vendor/qelm_hw.h"

#include <cstring>
#include <deque>
#include <string_view>

namespace {

constexpr std::string_view magic = "QELMHAP1";

std::string imageOf(std::string_view text) {
    constexpr std::size_t headerLength = 64;
    std::string image = std::string(magic) + std::string(headerLength - magic.size(), '\0') + std::string(text);
    const auto put = [&](std::size_t place, std::uint64_t value, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i, value >>= 8) {
            image[place + i] = static_cast<char>(value & 0xFF);
        }
    };
    put(8, text.size(), 8);
    put(16, qelm::virtual_board::crc32(reinterpret_cast<const unsigned char*>(text.data()), text.size()), 4);
    return image;
}

/** Asks for everything that the design holds. */
void walk(void* image, VirtualBoard* board) {
    for (std::uint32_t position = 1; position <= getDesignRegisterCount(image); ++position) {
        const char* name = getDesignRegisterName(image, position);
        qelm::fuzz::expect(name != nullptr, "every register has a name");
        const std::uint32_t address = getDesignRegisterAddress(image, name);
        qelm::fuzz::expect(getDesignRegisterWidth(image, address) - 1 < 64, "a register has 1 to 64 bits");
        std::uint64_t value = 0;
        qelm::fuzz::expect(readRegister(board, address, &value, 0) == 0, "a register can be read");
        writeRegister(board, address, ~value, 0);
    }
    for (std::uint32_t position = 0; getDesignEvent(image, position) != nullptr; ++position) {
        qelm::fuzz::expect(getDesignEvent(image, position)->name != nullptr, "every event has a name");
    }
}

void walk(void* runtime) {
    std::deque<const DesignNode*> waiting = {virtualBoard_Fg_getDesignTree(runtime)};
    while (!waiting.empty()) {
        const DesignNode* node = waiting.front();
        waiting.pop_front();
        qelm::fuzz::expect(node != nullptr && (node->kind == DESIGN_NODE_GROUP) == (node->description == nullptr),
                           "parameters alone are described");
        for (std::int32_t i = 0; i < node->childCount; ++i) {
            waiting.push_back(node->children[i]);
        }
        if (node->description == nullptr) {
            continue;
        }
        const std::int32_t id = virtualBoard_Fg_getParameterIdByName(runtime, node->name);
        qelm::fuzz::expect(id != 0, "a parameter is found by its name");
        std::uint32_t value = 0;
        if (virtualBoard_Fg_getParameterWithType(runtime, id, &value, 0, RUNTIME_VALUE_UINT32) == 0 &&
            (node->description->access & 2) != 0) {
            qelm::fuzz::expect(virtualBoard_Fg_setParameterWithType(runtime, id, &value, 0, RUNTIME_VALUE_UINT32) ==
                                       0 ||
                                   node->kind == 1,
                               "a value that was read can be written");
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string made = input.starts_with(magic) ? std::string(input) : imageOf(input);
    if (void* image = loadDesignImageMemory(made.data(), made.size(), 1)) {
        VirtualBoard* board = virtualBoardOpen();
        if (void* runtime = virtualBoard_Fg_InitHandle("", board, image)) {
            walk(image, board);
            walk(runtime);
            virtualBoard_Fg_FreeGrabber(runtime);
        }
        virtualBoardClose(board);
        releaseDesignImage(image);
    }
    const VirtualBoardResources open = virtualBoardResources();
    qelm::fuzz::expect(open.boards == 0 && open.runtimeHandles == 0 && open.designImages == 0, "nothing is left open");
    return 0;
}
