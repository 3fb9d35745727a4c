#include "surfaces/model_interface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace qelm::test {
namespace {

#ifdef _WIN32
const std::string libraryName = "nuvrak5.dll";

std::filesystem::path ownFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path();
}
void* load(const std::string& path) {
    return LoadLibraryA(path.c_str());
}
void unload(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}
bool has(void* library, const char* name) {
    return GetProcAddress(static_cast<HMODULE>(library), name) != nullptr;
}
#else
const std::string libraryName = "libnuvrak5.so";

std::filesystem::path ownFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}
void* load(const std::string& path) {
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}
void unload(void* library) {
    dlclose(library);
}
bool has(void* library, const char* name) {
    return dlsym(library, name) != nullptr;
}
#endif

const std::vector<std::string> allFunctions = {
#define VENDOR_FUNCTION(result, name, parameters, arguments) #name,
#include "surfaces/nuvrak5.inc"
#undef VENDOR_FUNCTION
};

TEST(RuntimeVariants, LackExactlyTheirFunctionsAndAreFoundByName) {
    const struct {
        const char* variant;
        std::vector<std::string> lacking;
    } cases[] = {
        {"without_slave_aware", {"Fg_InitHandleSlaveAware"}},
        {"without_init", {"Fg_InitHandle", "Fg_InitHandleSlaveAware"}},
        {"without_status_ex", {"Fg_getStatusEx"}},
        {"without_set_parameter", {"Fg_getParameter", "Fg_setParameter"}},
        {"without_typed", {"Fg_getParameterWithType", "Fg_setParameterWithType"}},
        {"without_free_grabber", {"Fg_FreeGrabber"}},
        {"without_design_tree", {"Fg_getDesignTree"}},
        {"without_last_error", {"Fg_getLastErrorNumber"}},
        {"without_applet_id", {"Fg_getAppletId"}},
        {"without_parameter_info", {"Fg_getParameterInfo"}},
        {"", {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.variant);
        const std::filesystem::path folder =
            *row.variant == '\0' ? ownFolder() : ownFolder() / "runtime_variants" / row.variant;
        void* library = load((folder / libraryName).string());
        ASSERT_NE(library, nullptr);
        std::vector<std::string> lacking;
        std::copy_if(allFunctions.begin(), allFunctions.end(), std::back_inserter(lacking),
                     [&](const std::string& name) { return !has(library, name.c_str()); });
        std::sort(lacking.begin(), lacking.end());
        EXPECT_EQ(lacking, row.lacking);
        void* byName = load(libraryName);
        EXPECT_EQ(byName, library);
        unload(byName);
        unload(library);
    }
}

} // namespace
} // namespace qelm::test
