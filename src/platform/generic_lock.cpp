#include "platform/generic_lock.h"

namespace qelm::templates::patterns {

GenericLock::~GenericLock() noexcept(false) { // NOLINT(bugprone-exception-escape)
    if (locked_) {
        throw std::logic_error("GenericLock object destroyed with lock still held");
    }
}

void GenericLock::throwAlreadyLocked() {
    throw std::logic_error("GenericLock object got lock but is already marked as locked");
}

void GenericLock::throwNotHeld() {
    throw std::logic_error("GenericLock::leave() called with lock not held");
}

} // namespace qelm::templates::patterns
