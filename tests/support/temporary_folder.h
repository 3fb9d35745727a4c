#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qelm::test {

/** A folder of the running test's own, removed at its end: tests run side by side. */
class TemporaryFolder {
  public:
    TemporaryFolder() {
        const auto& test = *testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("qelm_") + test.test_suite_name() + "_" + test.name();
        for (char& c : name) {
            c = c == '/' ? '_' : c;
        }
        path_ = std::filesystem::path(testing::TempDir()) / name;
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

/** What a file holds, read in text mode, so that lines end alike everywhere. */
inline std::string readText(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/** Writes the bytes as they are. */
inline void writeBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

} // namespace qelm::test
