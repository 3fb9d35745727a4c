#pragma once

#include "qelm/host/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace qelm::test {

/** A folder of the running test's own that is also the system's temporary directory for the applet. */
class TemporaryFolder {
  public:
    TemporaryFolder() {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("qelm_") + test->test_suite_name() + "_" + test->name();
        std::replace(name.begin(), name.end(), '/', '_'); // of tests with parameters
        int number = 0;                                   // the same test may run in another build
        do {
            path_ = std::filesystem::path(testing::TempDir()) / (name + "_" + std::to_string(number++));
        } while (!std::filesystem::create_directory(path_));
        std::filesystem::create_directory(path_ / "system");
        useForSystem(path_ / "system");
    }
    ~TemporaryFolder() {
        for (const char* name : variables) {
            host::setEnvironment(name, nullptr);
        }
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    const std::filesystem::path& path() const { return path_; }

    /** What the applet has left in its temporary directory. */
    std::ptrdiff_t leftOver() const {
        const std::filesystem::directory_iterator files(path_ / "system");
        return std::distance(begin(files), end(files));
    }
    /** The names of the files in the folder itself, in order. */
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            if (!entry.is_directory()) {
                names.push_back(entry.path().filename().string());
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    static void useForSystem(const std::filesystem::path& folder) {
        for (const char* name : variables) {
            host::setEnvironment(name, folder.string().c_str());
        }
    }

    void write(const std::string& name, const std::string& content) const {
        std::ofstream(file(name), std::ios::binary) << content;
    }
    std::string read(const std::string& name) const {
        std::ifstream stream(file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

  private:
    static constexpr const char* variables[] = {"TMPDIR", "TMP", "TEMP"};
    std::filesystem::path path_;
};

/** What a file holds, read in text mode, so that lines end alike everywhere. */
inline std::string readText(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace qelm::test
