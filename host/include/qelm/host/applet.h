#pragma once

#include "qelm/host/library.h"

#include "virtual_board.h"
#include "virtual_board_frames.h"
#include "zantor_obvelline_qx4_rk/applet.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace qelm::host {

/** What an applet exports, by the exported names. */
struct AppletFunctions {
#define APPLET_EXPORT(name) decltype(&::name) name = nullptr;
#include "qelm/host/exports.inc"
};

/** The virtual board's control surface, by the names of virtual_board.h without their prefix. */
struct VirtualBoardFunctions {
#define VIRTUAL_BOARD_FUNCTION(name, symbol) decltype(&::symbol) name = nullptr;
#include "qelm/host/virtual_board_functions.inc"
};

/**
 * A loaded applet library with its functions: `applet->Info(...)`. It must outlive its boards.
 *
 * Where the libraries that the applet links are the virtual board's, `virtualBoard()` gives its control surface.
 */
class Applet {
  public:
    /**
     * @param file a path, or a name as `find` takes it
     * @throws LoadError when the file, one of the libraries that it needs or one of its exports is missing
     */
    explicit Applet(const std::filesystem::path& file = defaultFile());
    /** Where `find` has this project's applet; if nowhere, beside the running program. */
    static std::filesystem::path defaultFile();
    /**
     * The file of an applet. A path stays one. A bare name, with or without its suffix, is looked for in the current
     * folder, beside the running program, in the library folder of its installation, and where the system's loader
     * looks (LD_LIBRARY_PATH and the loader's cache; PATH on Windows). @throws LoadError when it is nowhere
     */
    static std::filesystem::path find(const std::filesystem::path& name);
    Applet(const Applet&) = delete;
    Applet& operator=(const Applet&) = delete;

    const AppletFunctions* operator->() const { return &functions_; }
    const AppletFunctions& functions() const { return functions_; }
    const std::filesystem::path& file() const { return file_; }

    /** The text that Info writes through its second output; empty when it writes none. */
    std::string infoText(std::int32_t request) const;
    /** The size in bytes that Info writes through its first output. */
    std::uint64_t infoSize(std::int32_t request) const;

    /** @return null when the applet runs on the libraries of another board */
    const VirtualBoardFunctions* virtualBoard() const { return virtualBoard_ ? &virtualBoardFunctions_ : nullptr; }

  private:
    std::filesystem::path file_;
    std::optional<Library> runtime_; // unloaded after the applet
    Library library_;
    std::optional<Library> virtualBoard_;
    AppletFunctions functions_;
    VirtualBoardFunctions virtualBoardFunctions_;
};

} // namespace qelm::host
