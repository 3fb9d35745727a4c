#include "qelm/host/applet.h"

#include "qelm/host/system.h"

namespace qelm::host {
namespace {

namespace fs = std::filesystem;

const char appletName[] = "Zantor_Obvelline_Qx4_RK";
const char runtimeName[] = "nuvrak5";
const char* const linkedNames[] = {"nuvrod", "qelm_hw", "nuvpix"};

bool canLoad(const fs::path& file) {
    std::string error;
    void* handle = detail::openLibrary(file, error);
    if (handle != nullptr) {
        detail::closeLibrary(handle);
    }
    return handle != nullptr;
}

/** Loads the applet; not every system says which of the linked libraries is missing when that fails. */
Library loadApplet(const fs::path& file) {
    try {
        return Library(file);
    } catch (const LoadError& error) {
        std::string missing;
        for (const char* name : linkedNames) {
            const std::string fileName = libraryFileName(name);
            if (!canLoad(file.parent_path() / fileName) && !canLoad(fileName)) {
                missing += (missing.empty() ? "" : ", ") + fileName;
            }
        }
        if (missing.empty() || !fs::is_regular_file(file)) {
            throw;
        }
        throw LoadError(std::string(error.what()) + "; missing beside it and on the loader's path: " + missing);
    }
}

/**
 * An applet loads the acquisition runtime by its bare name. Where the loader would then not look beside the applet,
 * this sees to it that the runtime there is the one found, unless the process has one already.
 */
std::optional<Library> loadRuntimeBeside(const fs::path& applet) {
    const fs::path runtime = applet.parent_path() / libraryFileName(runtimeName);
    if (detail::librariesLookBesideThemselves() || Library::alreadyLoaded(runtimeName) || !canLoad(runtime)) {
        return std::nullopt;
    }
    return Library(runtime);
}

} // namespace

std::filesystem::path Applet::defaultFile() {
    const fs::path folder = executableFolder();
    const std::string name = appletFileName(appletName);
    for (const fs::path& file : {folder / name, folder / ".." / "lib" / name, folder / ".." / INSTALL_LIBDIR / name}) {
        if (fs::is_regular_file(file)) {
            return file;
        }
    }
    return folder / name;
}

Applet::Applet(const std::filesystem::path& file)
    : file_(fs::absolute(file))
    , runtime_(loadRuntimeBeside(file_))
    , library_(loadApplet(file_))
    , virtualBoard_(Library::alreadyLoaded("qelm_virtual_board")) {
#define APPLET_EXPORT(name) library_.resolve(functions_.name, #name);
#include "qelm/host/exports.inc"
    if (virtualBoard_) {
#define VIRTUAL_BOARD_FUNCTION(name, symbol) virtualBoard_->resolve(virtualBoardFunctions_.name, #symbol);
#include "qelm/host/virtual_board_functions.inc"
    }
}

std::string Applet::infoText(int32_t request) const {
    const char* text = nullptr;
    functions_.Info(request, 0, 0, nullptr, &text);
    return text != nullptr ? text : "";
}

uint64_t Applet::infoSize(int32_t request) const {
    uint64_t size = 0;
    functions_.Info(request, 0, 0, &size, nullptr);
    return size;
}

} // namespace qelm::host
