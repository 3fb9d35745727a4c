// The register library.
#include "model/libraries/observer.h"
#include "model/libraries/process.h"
#include "surfaces/model_interface.h"

#include <string>

using namespace qelm::virtual_board;

namespace {

/** Runs work(Board&) as an observed call; the target of an unknown address is the address itself. */
template <typename Work>
std::int32_t access(const char* function, void* board, std::uint32_t address, const std::uint64_t* value, bool isWrite,
                    Work&& work) {
    const std::shared_ptr<VirtualBoard> found = Process::instance().boards.find(board);
    return observe(
               [&] {
                   const auto design = found ? found->design() : nullptr;
                   const DesignRegister* entry = design ? design->registerAt(address) : nullptr;
                   return Call{found.get(), function, entry == nullptr ? std::to_string(address) : entry->name,
                               isWrite};
               },
               [&](const auto& outcome) {
                   return isWrite || outcome.error == ok ? CallValue{std::to_string(*value), *value, 0} : CallValue{};
               },
               [&] { return code(found ? found->whileOpen(work) : invalidBoard); })
        .result;
}

} // namespace

std::int32_t virtualBoard_writeRegister(void* board, std::uint32_t address, std::uint64_t value, std::int32_t) {
    return access("writeRegister", board, address, &value, true,
                  [&](Board& found) { return found.values().writeRegister(address, value); });
}

std::int32_t virtualBoard_readRegister(void* board, std::uint32_t address, std::uint64_t* value, std::int32_t) {
    return access("readRegister", board, address, value, false, [&](Board& found) {
        return value == nullptr ? unknown : found.values().readRegister(address, *value);
    });
}
