#pragma once

#include "process.h"

#include "qelm/host/system.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace qelm::test {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

struct Result {
    int status;
    std::string output;
    std::string errors;
};

inline std::string readText(const fs::path& file) {
    std::ifstream stream(file); // in text mode, so that lines end alike everywhere
    return {std::istreambuf_iterator<char>(stream), {}};
}

/**
 * A folder of this test's own, since cases run side by side; the tool runs in it, where no library lies about that the
 * loader would find.
 */
class QelmTest : public testing::Test {
  protected:
    QelmTest()
        : folder_(fs::path(testing::TempDir()) /
                  ("qelm_test_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()))) {
        fs::create_directories(folder_);
        fs::current_path(folder_);
    }
    ~QelmTest() override {
        fs::current_path(testing::TempDir());
        fs::remove_all(folder_);
    }

    Result run(const Words& arguments, const fs::path& tool = host::executableFolder() / QELM_TOOL) const {
        const fs::path output = folder_ / "output";
        const fs::path errors = folder_ / "errors";
        const int status = runProcess(tool, arguments, output, errors);
        return {status, readText(output), readText(errors)};
    }

    fs::path folder_;
};

} // namespace qelm::test
