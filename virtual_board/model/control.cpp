#include "model/observer.h"
#include "model/process.h"
#include "virtual_board.h"

#include <new>

using namespace qelm::virtual_board;

namespace {

/** Runs work(board) when the board is open. */
template <typename Work>
std::int32_t withBoard(VirtualBoard* board, Work&& work) {
    const std::shared_ptr<VirtualBoard> found = Process::instance().boards.find(board);
    const std::int32_t result = found ? work(*found) : static_cast<std::int32_t>(unknown);
    return result == invalidBoard ? static_cast<std::int32_t>(unknown) : result;
}

std::int32_t lineState(VirtualBoard* board, std::int32_t (VirtualBoard::*read)(std::uint32_t, TriggerUnit::Line&),
                       std::uint32_t line, std::int32_t* level, std::uint64_t* pulses) {
    if (level == nullptr || pulses == nullptr) {
        return unknown;
    }
    return withBoard(board, [&](VirtualBoard& found) {
        TriggerUnit::Line state;
        const std::int32_t result = (found.*read)(line, state);
        if (result == ok) {
            *level = state.level ? 1 : 0;
            *pulses = state.pulses;
        }
        return result;
    });
}

} // namespace

VirtualBoard* virtualBoardOpen(void) {
    try {
        return Process::instance().boards.give(std::make_shared<VirtualBoard>(Design::builtIn()));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void virtualBoardClose(VirtualBoard* board) {
    if (const std::shared_ptr<VirtualBoard> closed = Process::instance().boards.takeBack(board)) {
        closed->close();
        Observer::instance().forget(board);
    }
}

int32_t virtualBoardGetDesignValue(VirtualBoard* board, const char* name, uint32_t index, uint32_t* value) {
    return name == nullptr || value == nullptr
               ? unknown
               : withBoard(board, [&](VirtualBoard& found) { return found.peek(name, index, *value); });
}

int32_t virtualBoardSetDesignValue(VirtualBoard* board, const char* name, uint32_t index, uint32_t value) {
    return name == nullptr ? unknown
                           : withBoard(board, [&](VirtualBoard& found) { return found.poke(name, index, value); });
}

const char* virtualBoardGetDesignText(VirtualBoard* board, const char* name) {
    const std::shared_ptr<VirtualBoard> found = Process::instance().boards.find(board);
    return found && name != nullptr ? found->peekText(name) : nullptr;
}

int32_t virtualBoardGetCommandCount(VirtualBoard* board, const char* name, uint64_t* pulses) {
    return name == nullptr || pulses == nullptr
               ? unknown
               : withBoard(board, [&](VirtualBoard& found) { return found.pulseCount(name, *pulses); });
}

int32_t virtualBoardGetRegister(VirtualBoard* board, const char* name, uint64_t* value) {
    return name == nullptr || value == nullptr
               ? unknown
               : withBoard(board, [&](VirtualBoard& found) { return found.peekRegister(name, *value); });
}

int32_t virtualBoardSetRegister(VirtualBoard* board, const char* name, uint64_t value) {
    return name == nullptr ? unknown
                           : withBoard(board, [&](VirtualBoard& found) { return found.pokeRegister(name, value); });
}

int32_t virtualBoardGetRuntimeValue(VirtualBoard* board, int32_t id, uint32_t* value) {
    const RuntimeParameter* parameter = runtimeParameter(id);
    return parameter == nullptr || value == nullptr
               ? unknown
               : withBoard(board, [&](VirtualBoard& found) { return found.getRuntime(*parameter, *value); });
}

int32_t virtualBoardSetRuntimeValue(VirtualBoard* board, int32_t id, uint32_t value) {
    const RuntimeParameter* parameter = runtimeParameter(id);
    return parameter == nullptr
               ? unknown
               : withBoard(board, [&](VirtualBoard& found) { return found.pokeRuntime(*parameter, value); });
}

int32_t virtualBoardCoefficients(VirtualBoard* board, uint32_t buffer, const uint16_t** pixels, int32_t* width,
                                 int32_t* height) {
    return pixels == nullptr || width == nullptr || height == nullptr
               ? unknown
               : withBoard(board,
                           [&](VirtualBoard& found) { return found.coefficients(buffer, *pixels, *width, *height); });
}

int32_t virtualBoardSetInput(VirtualBoard* board, uint32_t pin, int32_t level) {
    return withBoard(board, [&](VirtualBoard& found) { return found.setInput(pin, level != 0); });
}

int32_t virtualBoardAdvance(VirtualBoard* board, uint64_t nanoseconds) {
    return withBoard(board, [&](VirtualBoard& found) { return found.advance(nanoseconds); });
}

int32_t virtualBoardGetTime(VirtualBoard* board, uint64_t* nanoseconds) {
    return nanoseconds == nullptr ? unknown
                                  : withBoard(board, [&](VirtualBoard& found) { return found.time(*nanoseconds); });
}

int32_t virtualBoardGetCameraControl(VirtualBoard* board, uint32_t line, int32_t* level, uint64_t* pulses) {
    return lineState(board, &VirtualBoard::cameraControl, line, level, pulses);
}

int32_t virtualBoardGetOutput(VirtualBoard* board, uint32_t line, int32_t* level, uint64_t* pulses) {
    return lineState(board, &VirtualBoard::triggerOutput, line, level, pulses);
}

int32_t virtualBoardRecordEvents(VirtualBoard* board, int32_t record) {
    return withBoard(board, [&](VirtualBoard& found) { return found.recordEvents(record != 0); });
}

int32_t virtualBoardEventCount(VirtualBoard* board, size_t* count) {
    return count == nullptr ? unknown : withBoard(board, [&](VirtualBoard& found) { return found.eventCount(*count); });
}

int32_t virtualBoardEventAt(VirtualBoard* board, size_t position, VirtualBoardEvent* event) {
    return event == nullptr ? unknown
                            : withBoard(board, [&](VirtualBoard& found) { return found.eventAt(position, *event); });
}

void virtualBoardTraceStart(void) {
    Observer::instance().startTrace();
}

void virtualBoardTraceStop(void) {
    Observer::instance().stopTrace();
}

size_t virtualBoardTraceLength(void) {
    return Observer::instance().traceLength();
}

const VirtualBoardTraceEntry* virtualBoardTraceAt(size_t position) {
    return Observer::instance().traceAt(position);
}

void virtualBoardFail(VirtualBoard* board, const char* call, const char* target, uint32_t skip, uint32_t count,
                      int32_t code) {
    Observer::instance().addFault(board, call, target, skip, count, code);
}

void virtualBoardClearFaults(void) {
    Observer::instance().clearFaults();
}

VirtualBoardResources virtualBoardResources(void) {
    Process& process = Process::instance();
    return {process.boards.count(), process.handles.count(), process.images.count(), process.pixels.count()};
}
