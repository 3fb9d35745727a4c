#include "model/camera/camera_error.h"
#include "model/observer.h"
#include "model/process.h"
#include "virtual_board.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

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

int32_t virtualBoardRecordSignals(VirtualBoard* board, int32_t record) {
    return withBoard(board, [&](VirtualBoard& found) { return found.recordSignals(record != 0); });
}

int32_t virtualBoardSignalChangeCount(VirtualBoard* board, size_t* count) {
    return count == nullptr ? unknown
                            : withBoard(board, [&](VirtualBoard& found) { return found.signalChangeCount(*count); });
}

int32_t virtualBoardSignalChangeAt(VirtualBoard* board, size_t position, VirtualBoardSignalChange* change) {
    return change == nullptr
               ? unknown
               : withBoard(board, [&](VirtualBoard& found) { return found.signalChangeAt(position, *change); });
}

int32_t virtualBoardConnectCamera(VirtualBoard* board, const char* options, const char* scene, char* problem,
                                  size_t size) {
    const auto tell = [&](const std::string& sentence) {
        if (problem != nullptr && size != 0) {
            const size_t length = std::min(sentence.size(), size - 1);
            std::copy_n(sentence.data(), length, problem);
            problem[length] = '\0';
        }
    };
    tell("");
    return withBoard(board, [&](VirtualBoard& found) -> std::int32_t {
        try {
            CameraOptions chosen = CameraOptions::parse(options == nullptr ? "" : options);
            if (scene != nullptr && *scene != '\0') {
                chosen.scene = scene;
            }
            return found.connectCamera(std::make_shared<const Camera>(chosen));
        } catch (const CameraError& error) {
            tell(error.what());
            return outOfRange;
        } catch (const std::bad_alloc&) {
            tell("there is not enough memory for the scene");
            return systemError;
        }
    });
}

int32_t virtualBoardDisconnectCamera(VirtualBoard* board) {
    return withBoard(board, [](VirtualBoard& found) { return found.connectCamera(nullptr); });
}

const char* virtualBoardCameraHelp(void) {
    static const std::string help = CameraOptions::help();
    return help.c_str();
}

void* virtualBoardAllocateFrames(VirtualBoard* board, size_t bytesPerPicture, size_t pictures) {
    Process& process = Process::instance();
    const std::shared_ptr<VirtualBoard> found = process.boards.find(board);
    if (!found || bytesPerPicture == 0 || pictures == 0 || bytesPerPicture > PTRDIFF_MAX / pictures) {
        return nullptr;
    }
    try {
        auto allocation = std::make_shared<FrameAllocation>();
        allocation->board = found;
        allocation->memory = std::make_shared<FrameMemory>(bytesPerPicture, pictures);
        return process.frames.give(std::move(allocation));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

int32_t virtualBoardFreeFrames(void* memory) {
    const std::shared_ptr<FrameAllocation> taken = Process::instance().frames.takeBack(memory);
    if (!taken) {
        return unknown;
    }
    taken->board->forget(taken->memory);
    return ok;
}

int32_t virtualBoardPicture(void* memory, int64_t number, const void** bytes, size_t* size) {
    const std::shared_ptr<FrameAllocation> found = Process::instance().frames.find(memory);
    return !found || bytes == nullptr || size == nullptr ? static_cast<std::int32_t>(unknown)
                                                         : found->board->picture(*found->memory, number, *bytes, *size);
}

int32_t virtualBoardGetLosses(VirtualBoard* board, VirtualBoardLosses* losses) {
    return losses == nullptr ? unknown : withBoard(board, [&](VirtualBoard& found) { return found.losses(*losses); });
}

int32_t virtualBoardFrameInfo(void* memory, int64_t number, VirtualBoardFrameInfo* info) {
    const std::shared_ptr<FrameAllocation> found = Process::instance().frames.find(memory);
    return !found || info == nullptr ? static_cast<std::int32_t>(unknown)
                                     : found->board->frameInfo(*found->memory, number, *info);
}

int32_t virtualBoardWritePicture(const char* file, const void* pixels, int32_t width, int32_t height, int32_t bits) {
    const ImageFormat format{width, height, bits, 1};
    if (file == nullptr || pixels == nullptr) {
        return unknown;
    }
    if (!format.isGray() || !format.isReasonable()) {
        return outOfRange;
    }
    const bool isPng = std::string_view(file).ends_with(".png");
    return (isPng ? writePngFile : writeImageFile)(file, pixels, format) ? ok : systemError;
}

int32_t virtualBoardSetTransferRate(VirtualBoard* board, uint64_t bytesPerSecond) {
    return withBoard(board, [&](VirtualBoard& found) { return found.setTransferRate(bytesPerSecond); });
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
    return {process.boards.count(), process.handles.count(), process.images.count(), process.pixels.count(),
            process.frames.count()};
}
