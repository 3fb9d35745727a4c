#include "qelm/host/applet.h"

#include "qelm/host/system.h"
#include "qelm/host/text.h"

namespace qelm::host {
namespace {

namespace fs = std::filesystem;

const char appletName[] = "Zantor_Obvelline_Qx4_RK";
const char runtimeName[] = "nuvrak5";
const char* const linkedNames[] = {"nuvrod", "qelm_hw", "nuvpix"};

/** Loads the applet. When that fails not every system says which of the libraries that it links is missing. */
Library loadApplet(const fs::path& file) {
    try {
        return Library(file);
    } catch (const LoadError& error) {
        std::string missing;
        for (const char* name : linkedNames) {
            if (!fs::is_regular_file(file.parent_path() / libraryFileName(name))) {
                missing += (missing.empty() ? "" : ", ") + libraryFileName(name);
            }
        }
        if (missing.empty() || !fs::is_regular_file(file)) {
            throw;
        }
        throw LoadError(std::string(error.what()) + "; not beside it: " + missing);
    }
}

/**
 * An applet loads the acquisition runtime by its bare name. Where the loader would then not look beside the applet,
 * this sees to it that the runtime there is the one found, unless the process has one already.
 */
std::optional<Library> loadRuntimeBeside(const fs::path& applet) {
    const fs::path runtime = applet.parent_path() / libraryFileName(runtimeName);
    if (detail::librariesLookBesideThemselves() || Library::alreadyLoaded(runtimeName) ||
        !fs::is_regular_file(runtime)) {
        return std::nullopt;
    }
    return Library(runtime);
}

} // namespace

std::filesystem::path Applet::defaultFile() {
    try {
        return find(appletName);
    } catch (const LoadError&) {
        return executableFolder() / appletFileName(appletName); // whose loading tells what is wrong
    }
}

std::filesystem::path Applet::find(const std::filesystem::path& name) {
    if (name.has_parent_path() || fs::is_regular_file(name)) {
        return fs::absolute(name);
    }
    const fs::path fileName = name.has_extension() ? name : pathOf(appletFileName(name.string()));
    const fs::path folder = executableFolder();
    const fs::path installed = folder / ".." / INSTALL_LIBDIR;
    for (const fs::path& candidate : {folder / fileName, installed / fileName}) {
        if (fs::is_regular_file(candidate)) {
            return candidate;
        }
    }
    std::string error;
    if (const fs::path found = detail::findOnLoaderPath(fileName, error); !found.empty()) {
        return found;
    }
    throw LoadError("there is no library " + fileName.string() + " in " + folder.string() + ", in " +
                    installed.lexically_normal().string() + " or on the loader's path" +
                    (error.empty() ? "" : ": " + error));
}

Applet::Applet(const std::filesystem::path& file)
    : file_(find(file))
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

std::string Applet::infoText(std::int32_t request) const {
    const char* text = nullptr;
    functions_.Info(request, 0, 0, nullptr, &text);
    return text != nullptr ? text : "";
}

std::uint64_t Applet::infoSize(std::int32_t request) const {
    std::uint64_t size = 0;
    functions_.Info(request, 0, 0, &size, nullptr);
    return size;
}

} // namespace qelm::host
