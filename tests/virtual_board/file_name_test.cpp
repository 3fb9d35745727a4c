// Files whose names go beyond ASCII: UTF-8 for hosts, the system's code page through the vendor libraries.

#include "fixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace qelm::test {
namespace {

constexpr std::uint8_t pixels[32] = {1, 2, 3};

std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/** As programs hand a name to a char* function of the system; empty for what its code page lacks. */
std::string inCodePage(const std::filesystem::path& path) {
#if defined(_WIN32)
    char name[1024] = "";
    BOOL lacking = FALSE;
    const int length =
        WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, path.c_str(), -1, name, sizeof name, nullptr, &lacking);
    return length == 0 || lacking ? "" : name;
#else
    return path.string();
#endif
}

class FileNames : public testing::TestWithParam<const char8_t*> {
  protected:
    TemporaryFolder folder_;
    StartedBoard started_;
};

TEST_P(FileNames, OfScenesAndPicturesAreUtf8) {
    for (const char* kind : {".tif", ".png"}) {
        std::filesystem::path path = folder_.path() / GetParam();
        path += kind;
        const std::string name = utf8(path);
        char problem[500] = "";
        const auto connect = [&] {
            return virtualBoardConnectCamera(started_.board, "width=16,height=2", name.c_str(), problem,
                                             sizeof problem);
        };
        EXPECT_EQ(connect(), -6000);
        EXPECT_EQ(problem, "\"" + name + "\" cannot be opened");
        EXPECT_EQ(virtualBoardWritePicture(name.c_str(), pixels, 16, 2, 8), 0);
        EXPECT_TRUE(std::filesystem::exists(path));
        EXPECT_EQ(connect(), 0) << problem;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 3)
        << "the system's folder, and no other name";
}

TEST_P(FileNames, ThroughVendorLibrariesAreInTheSystemsCodePage) {
    const std::filesystem::path path = folder_.path() / GetParam();
    const std::string name = inCodePage(path);
    if (name.empty()) {
        GTEST_SKIP() << "the code page of this system lacks it";
    }
    ASSERT_EQ(writeImage(name.c_str(), pixels, 16, 2, 8, 1), 0);
    EXPECT_TRUE(std::filesystem::exists(path));
    void* read = nullptr;
    std::int32_t width = 0, height = 0, bits = 0, samples = 0;
    ASSERT_NE(readImage(name.c_str(), &read, &width, &height, &bits, &samples), 0);
    EXPECT_EQ(width, 16);
    freeImage(read);
}

INSTANTIATE_TEST_SUITE_P(All, FileNames, testing::Values(u8"plain", u8"\u00fc", u8"\u56f3", u8"Gr\u00fcn \u56f3"),
                         [](const auto& name) { return "Name" + std::to_string(name.index); });

#if defined(_WIN32)
TEST(FileName, ThatIsNoUtf8IsRefused) {
    const TemporaryFolder folder;
    const std::string name = folder.path().string() + "\\\xfc.tif";
    EXPECT_EQ(virtualBoardWritePicture(name.c_str(), pixels, 16, 2, 8), -1);
    EXPECT_TRUE(folder.files().empty());
}
#endif

} // namespace
} // namespace qelm::test
