// What Windows shows of the applet's file is what the applet says of itself.

#include "qelm/host/applet.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>
#include <windows.h>

namespace qelm::test {
namespace {

TEST(VersionResource, SaysWhatTheAppletSays) {
    const host::Applet applet;
    const std::wstring file = applet.file().wstring();
    std::vector<char> resource(GetFileVersionInfoSizeW(file.c_str(), nullptr));
    ASSERT_NE(GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()), FALSE);
    const auto text = [&](const std::string& name) {
        char* value = nullptr;
        UINT length = 0;
        const std::string path = "\\StringFileInfo\\040904b0\\" + name;
        return VerQueryValueA(resource.data(), path.c_str(), reinterpret_cast<void**>(&value), &length) != FALSE
                   ? std::string(value)
                   : std::string();
    };
    EXPECT_EQ(text("ProductName"), applet.infoText(0x1050));
    EXPECT_EQ(text("FileVersion"), applet.infoText(0x1060));
    EXPECT_EQ(text("ProductVersion"), applet.infoText(0x1070));
    EXPECT_EQ(text("CompanyName"), "Quellmark GmbH");
    EXPECT_EQ(text("OriginalFilename"), "Zantor_Obvelline_Qx4_RK.dll");

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_NE(VerQueryValueA(resource.data(), "\\", reinterpret_cast<void**>(&fixed), &length), FALSE);
    EXPECT_EQ(std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed->dwFileVersionMS)) +
                  "." + std::to_string(HIWORD(fixed->dwFileVersionLS)) + "." +
                  std::to_string(LOWORD(fixed->dwFileVersionLS)),
              applet.infoText(0x1060));
}

} // namespace
} // namespace qelm::test
