#include "interruption.h"

#include "console.h"
#include "output.h"
#include "output_file.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace qelm::tool {
namespace {

std::atomic<int> requested{0}; // the exit status asked for; 0: none

[[noreturn]] void endNow(int status) {
    printErrorAlone("interrupted");
    if (const std::string files = writtenBefore(); !files.empty()) {
        printErrorAlone(files);
    }
    endDocument(Interrupted(status));
    abandonUnfinished();
    std::_Exit(status);
}

/** Runs in a thread of its own. */
void interrupt(int status) {
    if (requested.exchange(status) != 0) { // asked a second time
        endNow(status);
    }
    // A call into the applet cannot be broken off, and may take long.
    std::thread([status] {
        std::this_thread::sleep_for(std::chrono::seconds(2));
        endNow(status);
    }).detach();
}

} // namespace

void watchForInterruption() {
    onInterruption(interrupt);
}

void checkForInterruption() {
    if (const int status = requested.load(); status != 0) {
        throw Interrupted(status);
    }
}

} // namespace qelm::tool
