#include "model/libraries/process.h"

namespace qelm::virtual_board {

Process& Process::instance() {
    // Never destroyed, as the observer.
    static Process& process = *new Process;
    return process;
}

} // namespace qelm::virtual_board
