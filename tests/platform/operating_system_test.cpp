#include "platform/operating_system.h"

#include "qelm/host/system.h"

#include <gmock/gmock.h>

namespace qelm::platform {
namespace {

using testing::EndsWith;
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
}

} // namespace
} // namespace qelm::platform
