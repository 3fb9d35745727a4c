#pragma once

#include "vendor/nuvpix.h"
#include "vendor/nuvrak5.h"
#include "vendor/nuvrod.h"
#include "vendor/qelm_hw.h"
#include "virtual_board.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" {
#define VENDOR_FUNCTION(result, name, parameters, arguments) result name parameters;
#include "surfaces/nuvrak5.inc"
#undef VENDOR_FUNCTION
}

namespace qelm::tests {

inline constexpr std::int32_t designNumber = 2628;

inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/** A folder of the test's own, gone with it. */
class Folder {
  public:
    Folder() {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("virtual_board_") + test->test_suite_name() + "_" + test->name();
        std::replace(name.begin(), name.end(), '/', '_'); // of tests with parameters
        path_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

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

} // namespace qelm::tests
