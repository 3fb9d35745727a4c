#pragma once

#include "support/temporary_folder.h"
#include "vendor/nuvpix.h"
#include "vendor/nuvrak5.h"
#include "vendor/nuvrod.h"
#include "vendor/qelm_hw.h"
#include "virtual_board.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

extern "C" {
#define VENDOR_FUNCTION(result, name, parameters, arguments) result name parameters;
#include "surfaces/nuvrak5.inc"
#undef VENDOR_FUNCTION
}

namespace qelm::test {

inline constexpr std::int32_t designNumber = 2628;

inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/** A board that runs the built design image, as an applet would have started it. */
class StartedBoard {
  public:
    StartedBoard()
        : board(virtualBoardOpen())
        , image(loadDesignImageFile(QELM_DESIGN_IMAGE, designNumber, 1))
        , handle(Fg_InitHandleSlaveAware("Zantor_Obvelline_Qx4_RK.hap", board, image, 0)) {}
    ~StartedBoard() {
        Fg_FreeGrabber(handle);
        releaseDesignImage(image);
        virtualBoardClose(board);
    }
    StartedBoard(const StartedBoard&) = delete;
    StartedBoard& operator=(const StartedBoard&) = delete;

    std::int32_t id(const char* name) const { return Fg_getParameterIdByName(handle, name); }
    std::int32_t set(const char* name, std::uint32_t value) const {
        return Fg_setParameterWithType(handle, id(name), &value, 0, RUNTIME_VALUE_UINT32);
    }

    VirtualBoard* board;
    void* image;
    void* handle;
};

} // namespace qelm::test
