// What a board's life takes of the heap: opened, used, freed, with the coefficient planes or without.

#include "qelm/host/board.h"
#include "qelm/host/descriptions.h"

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace {

std::size_t heap() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void tell(const char* when, std::size_t before) {
    const std::size_t now = heap();
    std::printf("%-28s %10.1f KiB\n", when, (static_cast<double>(now) - static_cast<double>(before)) / 1024);
}

void use(qelm::host::Board& board) {
    const qelm::host::Applet& applet = board.applet();
    for (const qelm::host::Parameter& parameter : qelm::host::fixedParameters()) {
        applet->Fg_getParameterInfo(board, parameter.id);
    }
    board.change(FG_WIDTH, 512U);
    board.change(FG_TRIGGER_LEGACY_MODE, std::int32_t{FG_ON});
    qelm::host::readDescriptionXml(board);
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("memory_use_" + std::to_string(std::rand()) + ".kcf");
    applet->Fg_saveConfig(board, file.string().c_str());
    applet->Fg_loadConfig(board, file.string().c_str());
    std::filesystem::remove(file);
}

} // namespace

int main(int argc, char** argv) {
    using namespace qelm::host;
    const bool planes = argc > 1 && std::string_view(argv[1]) == "planes";
    const Applet applet;
    fixedParameters();
    {
        Board first(applet); // what the libraries keep for the whole process
        use(first);
    }
    VirtualBoard* hardware = applet.virtualBoard()->open();
    const std::size_t before = heap();
    {
        Board board(applet, {.handle = hardware});
        tell("opened", before);
        use(board);
        tell("used", before);
        if (planes) {
            ShadingAccess* access = applet->Fg_AllocShading(board, 0, 0);
            applet->Shad_GetAccess(board, access);
            applet->Shad_SetSubValueLine(board, access, 1, 0, 0.5F);
            applet->Shad_WriteActLine(board, access, 7);
            applet->Fg_FreeShading(board, access);
            tell("coefficients by line", before);
        }
    }
    tell("freed", before);
    applet.virtualBoard()->close(hardware);
    return 0;
}
