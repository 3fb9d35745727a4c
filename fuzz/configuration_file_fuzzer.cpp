// Configuration files, loaded by a running board.

#include "fuzzer.h"

#include "qelm/host/board.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qelm;
    static const fuzz::WorkingFolder folder;
    static const host::Applet applet;
    static const host::Board board(applet);
    static const std::string initial = [] {
        std::string file = folder.file("initial.kcf");
        fuzz::expect(applet->Fg_saveConfig(board, file.c_str()) == 0, "the first state can be saved");
        return file;
    }();
    // What an earlier input brought must not matter.
    fuzz::expect(applet->Fg_loadConfig(board, initial.c_str()) == 0, "the first state can be loaded");

    const std::string file = folder.write("input.kcf", data, size);
    const std::int32_t code = applet->Fg_loadConfig(board, file.c_str());
    fuzz::expect(code == 0 || code == -5000, "a load succeeds or refuses the file");
    fuzz::expect(applet->Fg_getLastErrorNumber(board) == code, "the last error is what was returned");

    const std::string saved = folder.file("saved.kcf");
    fuzz::expect(applet->Fg_saveConfig(board, saved.c_str()) == 0, "whatever was loaded can be saved");
    fuzz::expect(applet->Fg_loadConfig(board, saved.c_str()) == 0, "and loaded again");
    return 0;
}
