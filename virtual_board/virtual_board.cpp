#include "virtual_board.h"

#include "virtual_board_frames.h"

#include "model/camera/camera_error.h"
#include "model/file_name.h"
#include "model/libraries/observer.h"
#include "model/libraries/process.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>

using namespace qelm::virtual_board;

namespace {

/** What work(Board&) answers when the board is open, else -2070. */
template <typename Work>
std::int32_t onBoard(VirtualBoard* board, Work&& work) {
    const std::shared_ptr<VirtualBoard> found = Process::instance().boards.find(board);
    const std::int32_t result = found ? found->whileOpen(work) : unknown;
    return result == invalidBoard ? unknown : result;
}

/** The same for what the caller wants to have: looks for it in the board, and stores it at `place`. */
template <typename Value, typename Look>
std::int32_t store(VirtualBoard* board, Value* place, Look&& look) {
    return place == nullptr ? unknown : onBoard(board, [&](Board& open) {
        *place = look(open);
        return ok;
    });
}

/** The same for what there may not be: `look` answers a pointer, null for what is unknown. */
template <typename Value, typename Look>
std::int32_t storeFound(VirtualBoard* board, const char* name, Value* place, Look&& look) {
    return name == nullptr || place == nullptr ? unknown : onBoard(board, [&](Board& open) {
        const Value* found = look(open);
        if (found == nullptr) {
            return unknown;
        }
        *place = *found;
        return ok;
    });
}

template <typename Look>
std::int32_t lineState(VirtualBoard* board, bool exists, std::int32_t* level, std::uint64_t* pulses, Look&& look) {
    return !exists || level == nullptr || pulses == nullptr ? unknown : onBoard(board, [&](const Board& open) {
        const TriggerUnit::Line& line = look(open.trigger());
        *level = line.level ? 1 : 0;
        *pulses = line.pulses;
        return ok;
    });
}

/** Hands picture `number` of that memory to `use`, if it is there. */
template <typename Use>
std::int32_t onPicture(const void* memory, std::int64_t number, Use&& use) {
    const std::shared_ptr<FrameAllocation> found = Process::instance().frames.find(memory);
    if (!found) {
        return unknown;
    }
    const std::unique_lock lock = found->board->lock();
    const FrameMemory::Transferred picture = found->memory->picture(number);
    if (picture.bytes == nullptr) {
        return unknown;
    }
    use(picture);
    return ok;
}

/** @param make  answers the memory, or throws std::bad_alloc */
template <typename Make>
void* giveFrames(VirtualBoard* board, Make&& make) {
    Process& process = Process::instance();
    const std::shared_ptr<VirtualBoard> found = process.boards.find(board);
    if (!found) {
        return nullptr;
    }
    try {
        auto allocation = std::make_shared<FrameAllocation>();
        allocation->board = found;
        allocation->memory = make();
        return process.frames.give(std::move(allocation));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
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

std::int32_t virtualBoardGetDesignValue(VirtualBoard* board, const char* name, std::uint32_t index,
                                        std::uint32_t* value) {
    return storeFound(board, name, value, [&](Board& open) { return open.values().word(name, index); });
}

std::int32_t virtualBoardSetDesignValue(VirtualBoard* board, const char* name, std::uint32_t index,
                                        std::uint32_t value) {
    return name == nullptr ? unknown : onBoard(board, [&](Board& open) {
        std::uint32_t* word = open.values().word(name, index);
        if (word == nullptr) {
            return unknown;
        }
        *word = value;
        return ok;
    });
}

const char* virtualBoardGetDesignText(VirtualBoard* board, const char* name) {
    const char* text = nullptr;
    if (name != nullptr) {
        onBoard(board, [&](Board& open) {
            const std::string* found = open.values().text(name);
            text = found == nullptr ? nullptr : found->c_str();
            return ok;
        });
    }
    return text;
}

std::int32_t virtualBoardGetCommandCount(VirtualBoard* board, const char* name, std::uint64_t* pulses) {
    return storeFound(board, name, pulses, [&](Board& open) { return open.values().pulses(name); });
}

std::int32_t virtualBoardGetRegister(VirtualBoard* board, const char* name, std::uint64_t* value) {
    return storeFound(board, name, value, [&](Board& open) { return open.values().registerValue(name); });
}

std::int32_t virtualBoardSetRegister(VirtualBoard* board, const char* name, std::uint64_t value) {
    return name == nullptr
               ? unknown
               : onBoard(board, [&](Board& open) { return open.values().putRegister(name, value) ? ok : unknown; });
}

std::int32_t virtualBoardGetRuntimeValue(VirtualBoard* board, std::int32_t id, std::uint32_t* value) {
    const RuntimeParameter* parameter = runtimeParameter(id);
    return parameter == nullptr ? unknown
                                : store(board, value, [&](Board& open) { return open.runtime().get(*parameter); });
}

std::int32_t virtualBoardSetRuntimeValue(VirtualBoard* board, std::int32_t id, std::uint32_t value) {
    const RuntimeParameter* parameter = runtimeParameter(id);
    return parameter == nullptr ? unknown : onBoard(board, [&](Board& open) {
        open.runtime().put(*parameter, value);
        return ok;
    });
}

std::int32_t virtualBoardCoefficients(VirtualBoard* board, std::uint32_t buffer, const std::uint16_t** pixels,
                                      std::int32_t* width, std::int32_t* height) {
    if (pixels == nullptr || width == nullptr || height == nullptr) {
        return unknown;
    }
    return onBoard(board, [&](Board& open) {
        const CoefficientPlanes& planes = open.values().coefficients();
        if (buffer >= planes.size() || !planes[buffer]) {
            return unknown;
        }
        *pixels = static_cast<const std::uint16_t*>(planes[buffer].get());
        *width = *height = CoefficientBuffer::planeLimit;
        return ok;
    });
}

std::int32_t virtualBoardSetInput(VirtualBoard* board, std::uint32_t pin, std::int32_t level) {
    return pin >= TriggerUnit::pinCount ? unknown : onBoard(board, [&](Board& open) {
        open.setInput(pin, level != 0);
        return ok;
    });
}

std::int32_t virtualBoardAdvance(VirtualBoard* board, std::uint64_t nanoseconds) {
    return onBoard(board, [&](Board& open) {
        if (nanoseconds > Board::longestAdvance) {
            return outOfRange;
        }
        open.advance(nanoseconds);
        return ok;
    });
}

std::int32_t virtualBoardGetTime(VirtualBoard* board, std::uint64_t* nanoseconds) {
    return store(board, nanoseconds, [](const Board& open) { return open.trigger().nanoseconds(); });
}

std::int32_t virtualBoardGetCameraControl(VirtualBoard* board, std::uint32_t line, std::int32_t* level,
                                          std::uint64_t* pulses) {
    return lineState(board, line < TriggerUnit::cameraControlCount, level, pulses,
                     [&](const TriggerUnit& unit) { return unit.cameraControl(line); });
}

std::int32_t virtualBoardGetOutput(VirtualBoard* board, std::uint32_t line, std::int32_t* level,
                                   std::uint64_t* pulses) {
    return lineState(board, line < TriggerUnit::outputCount, level, pulses,
                     [&](const TriggerUnit& unit) { return unit.output(line); });
}

std::int32_t virtualBoardRecordEvents(VirtualBoard* board, std::int32_t record) {
    return onBoard(board, [&](Board& open) {
        open.events().record(record != 0);
        return ok;
    });
}

std::int32_t virtualBoardEventCount(VirtualBoard* board, size_t* count) {
    return store(board, count, [](Board& open) { return open.events().events().size(); });
}

std::int32_t virtualBoardEventAt(VirtualBoard* board, size_t position, VirtualBoardEvent* event) {
    return event == nullptr ? unknown : onBoard(board, [&](Board& open) {
        const std::vector<RaisedEvent>& events = open.events().events();
        if (position >= events.size()) {
            return unknown;
        }
        const RaisedEvent& raised = events[position];
        const std::uint64_t mask = raised.position < 64 ? std::uint64_t{1} << raised.position : 0;
        *event = {open.design()->event(raised.position)->name, mask, raised.nanoseconds};
        return ok;
    });
}

std::int32_t virtualBoardRecordSignals(VirtualBoard* board, std::int32_t record) {
    return onBoard(board, [&](Board& open) {
        open.recordSignals(record != 0);
        return ok;
    });
}

std::int32_t virtualBoardSignalChangeCount(VirtualBoard* board, size_t* count) {
    return store(board, count, [](const Board& open) { return open.signals().changes().size(); });
}

std::int32_t virtualBoardSignalChangeAt(VirtualBoard* board, size_t position, VirtualBoardSignalChange* change) {
    return change == nullptr ? unknown : onBoard(board, [&](const Board& open) {
        const std::vector<SignalLog::Change>& changes = open.signals().changes();
        if (position >= changes.size()) {
            return unknown;
        }
        *change = {changes[position].nanoseconds, changes[position].signal, changes[position].value};
        return ok;
    });
}

std::int32_t virtualBoardConnectCamera(VirtualBoard* board, const char* options, const char* scene, char* problem,
                                       size_t size) {
    const auto tell = [&](const std::string& sentence) {
        if (problem != nullptr && size != 0) {
            const size_t length = std::min(sentence.size(), size - 1);
            std::copy_n(sentence.data(), length, problem);
            problem[length] = '\0';
        }
    };
    tell("");
    return onBoard(board, [&](Board& open) {
        try {
            CameraOptions chosen = CameraOptions::parse(options == nullptr ? "" : options);
            if (scene != nullptr && *scene != '\0') {
                chosen.scene = scene;
            }
            open.connectCamera(std::make_shared<const Camera>(chosen));
            return ok;
        } catch (const CameraError& error) {
            tell(error.what());
            return outOfRange;
        } catch (const std::bad_alloc&) {
            tell("there is not enough memory for the scene");
            return systemError;
        }
    });
}

std::int32_t virtualBoardDisconnectCamera(VirtualBoard* board) {
    return onBoard(board, [](Board& open) {
        open.connectCamera(nullptr);
        return ok;
    });
}

const char* virtualBoardCameraHelp(void) {
    static const std::string help = CameraOptions::help();
    return help.c_str();
}

void* virtualBoardAllocateFrames(VirtualBoard* board, size_t bytesPerPicture, size_t pictures) {
    if (bytesPerPicture == 0 || pictures == 0 || bytesPerPicture > PTRDIFF_MAX / pictures) {
        return nullptr;
    }
    return giveFrames(board, [&] { return std::make_shared<FrameMemory>(bytesPerPicture, pictures); });
}

void* virtualBoardUseFrames(VirtualBoard* board, size_t bytesPerPicture, size_t pictures, void* const* places) {
    if (places == nullptr || bytesPerPicture == 0 || pictures == 0 ||
        std::count(places, places + pictures, nullptr) > 0) {
        return nullptr;
    }
    return giveFrames(board,
                      [&] { return std::make_shared<FrameMemory>(bytesPerPicture, std::span(places, pictures)); });
}

std::int32_t virtualBoardExchangePlace(void* memory, std::int64_t number, void* place) {
    const std::shared_ptr<FrameAllocation> found = Process::instance().frames.find(memory);
    if (!found || place == nullptr) {
        return unknown;
    }
    const std::unique_lock lock = found->board->lock();
    return found->memory->exchangePlace(number, static_cast<std::byte*>(place)) ? ok : unknown;
}

std::int64_t virtualBoardWaitForPicture(void* memory, std::int64_t number, std::uint64_t nanoseconds) {
    const std::shared_ptr<FrameAllocation> found = Process::instance().frames.find(memory);
    if (!found) {
        return unknown;
    }
    return found->board->whileOpen([&](Board& open) -> std::int64_t {
        if (open.acquisition().memory() != found->memory) {
            return notAcquiring;
        }
        open.waitForPicture(number, std::min(nanoseconds, Board::longestAdvance));
        return found->memory->last() >= number ? found->memory->last() : timedOut;
    });
}

std::int32_t virtualBoardFreeFrames(void* memory) {
    const std::shared_ptr<FrameAllocation> taken = Process::instance().frames.takeBack(memory);
    if (!taken) {
        return unknown;
    }
    taken->board->whileOpen([&](Board& open) {
        open.forget(*taken->memory);
        return ok;
    });
    return ok;
}

std::int32_t virtualBoardPicture(void* memory, std::int64_t number, const void** bytes, size_t* size) {
    if (bytes == nullptr || size == nullptr) {
        return unknown;
    }
    *bytes = nullptr;
    *size = 0;
    return onPicture(memory, number, [&](const FrameMemory::Transferred& picture) {
        *bytes = picture.bytes;
        *size = picture.size;
    });
}

std::int32_t virtualBoardFrameInfo(void* memory, std::int64_t number, VirtualBoardFrameInfo* info) {
    return info == nullptr
               ? unknown
               : onPicture(memory, number, [&](const FrameMemory::Transferred& picture) { *info = picture.info; });
}

std::int32_t virtualBoardGetLosses(VirtualBoard* board, VirtualBoardLosses* losses) {
    return store(board, losses, [](const Board& open) { return open.acquisition().losses(); });
}

std::int32_t virtualBoardWritePicture(const char* file, const void* pixels, std::int32_t width, std::int32_t height,
                                      std::int32_t bits) {
    const ImageFormat format{width, height, bits, 1};
    if (file == nullptr || pixels == nullptr) {
        return unknown;
    }
    if (!format.isGray() || !format.isReasonable()) {
        return outOfRange;
    }
    const bool isPng = std::string_view(file).ends_with(".png");
    return (isPng ? writePngFile : writeImageFile)(fromUtf8(file), pixels, format) ? ok : systemError;
}

std::int32_t virtualBoardSetTransferRate(VirtualBoard* board, std::uint64_t bytesPerSecond) {
    return onBoard(board, [&](Board& open) {
        if (bytesPerSecond == 0) {
            return outOfRange;
        }
        open.setTransferRate(bytesPerSecond);
        return ok;
    });
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

void virtualBoardFail(VirtualBoard* board, const char* call, const char* target, std::uint32_t skip,
                      std::uint32_t count, std::int32_t code) {
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
