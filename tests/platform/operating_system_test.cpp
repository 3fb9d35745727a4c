#include "platform/operating_system.h"
#include "platform/whole_file.h"

#include "qelm/host/system.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace qelm::test {
namespace {

using namespace platform;

using testing::Optional;
using testing::StrEq;

TEST(OperatingSystem, TellsUnsetFromEmptyAndReadsLongValues) {
    const char name[] = "QELM_PLATFORM_TEST";
    EXPECT_EQ(environmentVariable(name), std::nullopt);
    host::setEnvironment(name, "");
    EXPECT_THAT(environmentVariable(name), Optional(StrEq("")));
    for (const std::size_t length : {1U, 255U, 256U, 257U, 5000U}) {
        const std::string value(length, 'x');
        host::setEnvironment(name, value.c_str());
        EXPECT_THAT(environmentVariable(name), Optional(value));
    }
    host::setEnvironment(name, nullptr);
    EXPECT_EQ(environmentVariable(name), std::nullopt);
}

TEST(OperatingSystem, LoadsALibraryByNameAndAnswersNullForWhatIsMissing) {
    EXPECT_EQ(loadSharedLibrary(sharedLibraryFileName("no_such_library")), nullptr);
    void* library = loadSharedLibrary(sharedLibraryFileName("nuvrak5"));
    ASSERT_NE(library, nullptr);
    EXPECT_NE(resolveFunction(library, "Fg_getParameterIdByName"), nullptr);
    EXPECT_EQ(resolveFunction(library, "noSuchFunction"), nullptr);
    freeSharedLibrary(library);
}

TEST(OperatingSystem, KnowsTheFileThatHoldsItsCode) {
    const auto path = ownLibraryPath();
    ASSERT_TRUE(path);
    const auto name = path->substr(path->find_last_of("\\/") + 1);
    EXPECT_EQ(name.substr(0, name.rfind('.')), "platform_test");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(before.root_path());
    EXPECT_TRUE(std::filesystem::is_regular_file(*path)) << *path;
    EXPECT_EQ(ownLibraryPath(), path) << "wherever the process has gone";
    std::filesystem::current_path(before);
}

#ifndef _WIN32
TEST(OperatingSystem, KnowsTheFileThatHoldsItsCodeAlsoWhenItWasLoadedByARelativePath) {
    const std::string folder = host::executableFolder().string();
    const std::string command =
        "cd '" + folder + "' && ./platform_test > '" + testing::TempDir() +
        "platform_test_relative.txt' --gtest_filter=OperatingSystem.KnowsTheFileThatHoldsItsCode";
    EXPECT_EQ(std::system(command.c_str()), 0);
}
#endif

TEST(OperatingSystem, FilesAreReplacedAsAWholeOrNotAtAll) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "platform_test_replace";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder / "inner");
    const auto write = [&](const char* name, const char* text) { std::ofstream(folder / name) << text; };
    const auto read = [&](const char* name) { // closed again at once
        std::string text;
        readWholeFile((folder / name).string(), 100, text);
        return text;
    };
    const std::string file = (folder / "file").string();
    const std::string by = (folder / "by").string();
    const auto target = replaceableFile(file);
    ASSERT_TRUE(target);
    for (const char* text : {"new", "newer"}) {
        write("by", text);
        EXPECT_TRUE(replaceFile(*target, by));
        EXPECT_EQ(read("file"), text);
        EXPECT_FALSE(std::filesystem::exists(by));
    }
    EXPECT_FALSE(replaceFile(*target, by)) << "with nothing";
    write("by", "newest");
    EXPECT_FALSE(replaceFile((folder / "inner").string(), by));
    EXPECT_FALSE(replaceFile((folder / "none" / "file").string(), by));
    EXPECT_EQ(read("file"), "newer");
    EXPECT_EQ(read("by"), "newest");
    EXPECT_EQ(replaceableFile((folder / "inner").string()), std::nullopt);
    for (const std::string& relative : {std::string("file"), std::string("./file")}) { // to the folder one is in
        const auto before = std::filesystem::current_path();
        std::filesystem::current_path(folder);
        FileReplacement replacement(relative, "w");
        std::fputs(relative.c_str(), replacement.stream());
        EXPECT_TRUE(replacement.finish());
        std::filesystem::current_path(before);
        EXPECT_EQ(read("file"), relative);
    }
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace qelm::test
