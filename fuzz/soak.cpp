// Mixed calls at random on one board, many millions of them: memory has to stay where it is.

#include "call_player.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <random>

#include <unistd.h>

namespace {

/** What of the process lies in memory. */
std::uint64_t residentKibibytes() {
    std::ifstream figures("/proc/self/statm");
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    figures >> total >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

} // namespace

int main(int argc, char** argv) {
    using namespace qelm;
    constexpr std::uint64_t tolerated = 1024; // KiB: what allocators move around
    std::uint64_t calls = 10'000'000;
    std::uint32_t seed = 1;
    if (argc > 1) {
        const char* end = argv[1] + std::strlen(argv[1]);
        const auto [stop, error] = std::from_chars(argv[1], end, calls);
        if (stop != end || error != std::errc{} || calls < 100) {
            std::cerr << "usage: soak [CALLS [SEED]], at least 100 calls\n";
            return 2;
        }
    }
    if (argc > 2) {
        seed = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 0));
    }
    std::string folder = (std::filesystem::temp_directory_path() / "qelm-soak-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        std::cerr << "there is no room for files in " << folder << '\n';
        return 2;
    }
    int status = 0;
    try {
        const host::Applet applet;
        std::mt19937 random(seed);
        fuzz::CallPlayer player(applet, folder, [&](std::uint32_t limit) { return random() % limit; });
        // Everything has been used once or more after a hundredth of the calls.
        const std::uint64_t warm = calls / 100;
        std::uint64_t start = 0;
        for (std::uint64_t call = 1; call <= calls; ++call) {
            player.play();
            if (call == warm) {
                start = residentKibibytes();
                std::printf("after %12llu calls %8llu KiB\n", static_cast<unsigned long long>(call),
                            static_cast<unsigned long long>(start));
            } else if (call % (calls / 10) == 0) {
                std::printf("after %12llu calls %8llu KiB\n", static_cast<unsigned long long>(call),
                            static_cast<unsigned long long>(residentKibibytes()));
                std::fflush(stdout);
            }
        }
        if (residentKibibytes() > start + tolerated) {
            std::cerr << "memory has grown\n";
            status = 1;
        }
    } catch (const std::exception& error) {
        std::cerr << "seed " << seed << ", " << error.what() << '\n';
        status = 1;
    }
    std::filesystem::remove_all(folder);
    return status;
}
