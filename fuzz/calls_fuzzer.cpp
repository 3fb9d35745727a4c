// Sequences of exported calls on a virtual board.

#include "call_player.h"
#include "fuzzer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qelm;
    static const fuzz::WorkingFolder folder;
    static const host::Applet applet;
    constexpr int mostCalls = 100;
    for (const char* name : {"a.kcf", "b.kcf", "a.lut", "b.lut"}) {
        std::filesystem::remove(folder.file(name));
    }
    fuzz::Bytes bytes(data, size);
    try {
        fuzz::CallPlayer player(applet, folder.path(), [&](std::uint32_t limit) {
            const std::uint32_t high = limit > 256 ? bytes.take() : 0U;
            return (high << 8 | bytes.take()) % limit;
        });
        for (int call = 0; call < mostCalls && !bytes.empty(); ++call) {
            player.play();
        }
        player.check();
    } catch (const fuzz::BrokenInvariant& error) {
        fuzz::expect(false, error.what());
    }
    const VirtualBoardResources open = applet.virtualBoard()->resources();
    fuzz::expect(open.boards == 0 && open.runtimeHandles == 0 && open.designImages == 0, "nothing is left open");
    return 0;
}
