// The acquisition runtime as the boards of this process serve it.
#include "model/libraries/observer.h"
#include "model/libraries/process.h"
#include "surfaces/model_interface.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

using namespace qelm::virtual_board;

namespace {

/** The value types of the typed calls, and those that only the untyped calls have. */
enum ValueType : std::int32_t {
    typeWord = RUNTIME_VALUE_UINT32,
    typeText = RUNTIME_VALUE_PATH,
    typeField = RUNTIME_VALUE_FIELD,
    typeElement = RUNTIME_VALUE_FIELD_ELEMENT,
    typeNumber = -1, /**< a double */
    typeNone = -2    /**< not settable without a type code */
};

/** Value type of a call without a type code. */
std::int32_t naturalType(const DesignParameter* parameter) {
    if (parameter == nullptr || parameter->holdsWord()) {
        return typeWord;
    }
    return parameter->kind == Kind::Float ? typeNumber : parameter->kind == Kind::Text ? typeText : typeNone;
}

bool fits(const DesignParameter& parameter, std::int32_t type) {
    switch (type) {
    case typeWord:
        return parameter.holdsWord();
    case typeText:
        return parameter.kind == Kind::Text;
    case typeNumber:
        return parameter.kind == Kind::Float;
    case typeField:
    case typeElement:
        return parameter.kind == Kind::Field;
    default:
        return false;
    }
}

// Callers need not align what they point to.
template <typename Value>
Value load(const void* place) {
    Value value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

/** A field access whose data can be reached. */
bool isSound(const FieldAccess& field) {
    return field.elementType == RUNTIME_VALUE_UINT32 && field.data != nullptr;
}

std::int32_t write(DesignValues& values, const DesignParameter& parameter, std::int32_t type, const void* value) {
    switch (type) {
    case typeWord:
        return values.setWord(parameter, load<std::uint32_t>(value));
    case typeNumber:
        return values.setNumber(parameter, load<double>(value));
    case typeText:
        return values.setText(parameter, static_cast<const char*>(value));
    case typeElement: {
        const auto element = load<FieldElement>(value);
        return values.setElements(parameter, element.index, 1, &element.value);
    }
    default: {
        const auto field = load<FieldAccess>(value);
        return isSound(field) ? values.setElements(parameter, field.startIndex, field.count,
                                                   static_cast<const std::uint32_t*>(field.data))
                              : unknown;
    }
    }
}

std::int32_t read(const DesignValues& values, const DesignParameter& parameter, std::int32_t type, void* value) {
    // Nothing is stored on failure.
    const auto store = [value](std::int32_t result, const auto& got) {
        if (result == ok) {
            std::memcpy(value, &got, sizeof got);
        }
        return result;
    };
    switch (type) {
    case typeWord: {
        std::uint32_t word = 0;
        return store(values.getWord(parameter, word), word);
    }
    case typeNumber: {
        double number = 0;
        return store(values.getNumber(parameter, number), number);
    }
    case typeText:
        return values.getText(parameter, static_cast<char*>(value));
    case typeElement: {
        auto element = load<FieldElement>(value);
        return store(values.getElements(parameter, element.index, 1, &element.value), element);
    }
    default: {
        const auto field = load<FieldAccess>(value);
        return isSound(field) ? values.getElements(parameter, field.startIndex, field.count,
                                                   static_cast<std::uint32_t*>(const_cast<void*>(field.data)))
                              : unknown;
    }
    }
}

// The trace's text of a value that is sound for the type; of a field, `most` elements at most.
CallValue valueText(std::int32_t type, const void* value, std::uint32_t most) {
    switch (type) {
    case typeWord: {
        const auto word = load<std::uint32_t>(value);
        return {std::to_string(word), word, 0};
    }
    case typeNumber: {
        char text[32];
        std::snprintf(text, sizeof text, "%.17g", load<double>(value));
        return {text, 0, 0};
    }
    case typeText:
        return {static_cast<const char*>(value), 0, 0};
    case typeElement: {
        const auto element = load<FieldElement>(value);
        return {std::to_string(element.index) + ": " + std::to_string(element.value), element.value, element.index};
    }
    case typeField: {
        const auto field = load<FieldAccess>(value);
        std::string text = "[" + std::to_string(field.count) + "]";
        for (std::uint32_t i = 0; isSound(field) && i < std::min(field.count, most); ++i) {
            text += ' ' + std::to_string(static_cast<const std::uint32_t*>(field.data)[i]);
        }
        return {text, 0, 0};
    }
    default:
        return {};
    }
}

VirtualBoard* boardOf(const RuntimeHandle* handle) {
    return handle == nullptr ? nullptr : handle->board.get();
}

/** Name of the parameter behind an identifier; for an unknown one, the identifier. */
std::string nameOf(const RuntimeHandle* handle, std::int32_t id) {
    if (const DesignParameter* parameter = handle == nullptr ? nullptr : handle->design->parameter(id)) {
        return parameter->name;
    }
    const RuntimeParameter* parameter = runtimeParameter(id);
    return parameter == nullptr ? std::to_string(id) : parameter->name;
}

template <typename Describe, typename Value, typename Work>
auto callRuntime(RuntimeHandle* handle, Describe&& describe, Value&& value, Work&& work) {
    using Result = decltype(work().result);
    const auto outcome = observe(describe, value, [&]() -> Outcome<Result> {
        return handle == nullptr ? failed<Result>(invalidBoard) : work();
    });
    if (handle != nullptr) {
        handle->lastError.store(outcome.error, std::memory_order_relaxed);
    }
    return outcome.result;
}

/** A set or get of one parameter; `untyped` calls come without a type code. */
template <typename Pointer, typename OnDesign, typename OnRuntime>
std::int32_t access(const char* function, void* opaque, std::int32_t id, Pointer value, std::uint32_t port,
                    bool untyped, std::int32_t type, OnDesign&& onDesign, OnRuntime&& onRuntime) {
    constexpr bool isWrite = std::is_same_v<Pointer, const void*>;
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    const DesignParameter* parameter = handle == nullptr ? nullptr : handle->design->parameter(id);
    if (untyped) {
        type = naturalType(parameter);
    } else if (type < 0) {
        type = typeNone; // the untyped calls' own types have no codes
    }
    // A typed call may name a type that does not fit; its value must not be looked at then.
    const bool isSound = value != nullptr && (parameter != nullptr ? fits(*parameter, type) : type == typeWord);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), function, nameOf(handle, id), isWrite};
        },
        [&](const Outcome<std::int32_t>& outcome) {
            return isSound && (isWrite || outcome.error == ok)
                       ? valueText(type, value, parameter == nullptr ? 1 : parameter->length)
                       : CallValue{};
        },
        [&] {
            if (!isSound || port != 0) {
                return code(unknown);
            }
            if (parameter != nullptr) {
                return code(handle->board->whileRunning(
                    *handle->design, [&](Board& board) { return onDesign(board.values(), *parameter, type); }));
            }
            const RuntimeParameter* runtime = runtimeParameter(id);
            return code(runtime == nullptr ? unknown : handle->board->whileOpen([&](Board& board) {
                return onRuntime(board.runtime(), *runtime);
            }));
        });
}

std::int32_t set(const char* function, void* handle, std::int32_t id, const void* value, std::uint32_t port,
                 bool untyped, std::int32_t type) {
    return access(
        function, handle, id, value, port, untyped, type,
        [value](DesignValues& values, const DesignParameter& parameter, std::int32_t as) {
            return write(values, parameter, as, value);
        },
        [value](RuntimeValues& values, const RuntimeParameter& parameter) {
            return values.set(parameter, load<std::uint32_t>(value));
        });
}

std::int32_t get(const char* function, void* handle, std::int32_t id, void* value, std::uint32_t port, bool untyped,
                 std::int32_t type) {
    return access(
        function, handle, id, value, port, untyped, type,
        [value](const DesignValues& values, const DesignParameter& parameter, std::int32_t as) {
            return read(values, parameter, as, value);
        },
        [value](const RuntimeValues& values, const RuntimeParameter& parameter) {
            const std::uint32_t word = values.get(parameter);
            std::memcpy(value, &word, sizeof word);
            return ok;
        });
}

void* init(const char* function, const char* hapFileName, void* board, void* designImage, std::int32_t isSlave) {
    Process& process = Process::instance();
    const auto outcome = observe(
        [&] {
            return Call{static_cast<VirtualBoard*>(board), function, hapFileName == nullptr ? "" : hapFileName, false};
        },
        [&](const auto&) {
            return CallValue{isSlave != 0 ? "slave" : "", 0, 0};
        },
        [&]() -> Outcome<void*> {
            const std::shared_ptr<VirtualBoard> found = process.boards.find(board);
            const std::shared_ptr<DesignImage> image = process.images.find(designImage);
            if (!found) {
                return {nullptr, invalidBoard};
            }
            if (!image) {
                return {nullptr, noDesignImage};
            }
            const std::int32_t error = found->whileOpen([&](Board& open) {
                open.load(image->design);
                return ok;
            });
            if (error != ok) {
                return {nullptr, error};
            }
            auto handle = std::make_shared<RuntimeHandle>();
            handle->board = found;
            handle->design = image->design;
            handle->designNumber = image->number;
            return {process.handles.give(std::move(handle)), ok};
        });
    process.startUpError.store(outcome.error, std::memory_order_relaxed);
    return outcome.result;
}

/** A call that concerns the one DMA channel there is: work(handle). Non-negative results are counts. */
template <typename Result, typename Work>
Result onDma(const char* function, void* opaque, std::uint32_t dmaIndex, std::int64_t argument, Work&& work) {
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), function, std::to_string(argument), false};
        },
        [](const auto&) { return CallValue{}; },
        [&]() -> Outcome<Result> {
            const Result result = dmaIndex == 0 ? work(*handle) : Result{unknown};
            return {result, result < 0 ? static_cast<std::int32_t>(result) : ok};
        });
}

/** A call that takes memory for pictures of the handle's own board: work(Board&, memory). */
template <typename Result, typename Work>
Result onMemory(const char* function, void* opaque, std::uint32_t dmaIndex, void* memory, std::int64_t argument,
                Work&& work) {
    return onDma<Result>(function, opaque, dmaIndex, argument, [&](const RuntimeHandle& handle) -> Result {
        const std::shared_ptr<FrameAllocation> frames = Process::instance().frames.find(memory);
        if (!frames || frames->board != handle.board) {
            return unknown;
        }
        return handle.board->whileRunning(*handle.design,
                                          [&](Board& board) -> Result { return work(board, frames->memory); });
    });
}

/** A function that this runtime has, but cannot serve. */
template <typename Result>
Result refuse(const char* function, void* opaque) {
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), function, "", false};
        },
        [](const auto&) { return CallValue{}; }, [] { return failed<Result>(notSupported); });
}

} // namespace

void* virtualBoard_Fg_InitHandleSlaveAware(const char* hapFileName, void* board, void* designImage,
                                           std::int32_t isSlave) {
    return init("Fg_InitHandleSlaveAware", hapFileName, board, designImage, isSlave);
}

void* virtualBoard_Fg_InitHandle(const char* hapFileName, void* board, void* designImage) {
    return init("Fg_InitHandle", hapFileName, board, designImage, 0);
}

std::int32_t virtualBoard_Fg_FreeGrabber(void* handle) {
    // Kept until the end of the call, which the handle may not survive.
    const std::shared_ptr<RuntimeHandle> found = Process::instance().handles.find(handle);
    return callRuntime(
        found.get(),
        [&] {
            return Call{boardOf(found.get()), "Fg_FreeGrabber", "", false};
        },
        [](const auto&) { return CallValue{}; },
        [&] {
            Process::instance().handles.takeBack(handle);
            return code(ok);
        });
}

std::int32_t virtualBoard_Fg_getLastErrorNumber(void* opaque) {
    const auto* handle = static_cast<const RuntimeHandle*>(opaque);
    return observe(
               [&] {
                   return Call{boardOf(handle), "Fg_getLastErrorNumber", "", false};
               },
               [](const auto&) { return CallValue{}; },
               [&] {
                   const auto& cell = handle == nullptr ? Process::instance().startUpError : handle->lastError;
                   return Outcome<std::int32_t>{cell.load(std::memory_order_relaxed), ok};
               })
        .result;
}

std::int32_t virtualBoard_Fg_getAppletId(void* opaque, void*) {
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), "Fg_getAppletId", "", false};
        },
        [](const auto&) { return CallValue{}; },
        [&] {
            return Outcome<std::int32_t>{handle->designNumber, ok};
        });
}

std::int32_t virtualBoard_Fg_getParameterIdByName(void* opaque, const char* name) {
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), "Fg_getParameterIdByName", name == nullptr ? "" : name, false};
        },
        [](const auto&) { return CallValue{}; },
        [&]() -> Outcome<std::int32_t> {
            const DesignParameter* parameter =
                name == nullptr ? nullptr : handle->design->parameter(std::string_view(name));
            return parameter == nullptr ? Outcome<std::int32_t>{0, unknown} : Outcome<std::int32_t>{parameter->id, ok};
        });
}

const char* virtualBoard_Fg_getParameterInfo(void* opaque, std::int32_t id) {
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), "Fg_getParameterInfo", nameOf(handle, id), false};
        },
        [](const auto&) { return CallValue{}; },
        [&]() -> Outcome<const char*> {
            if (const DesignParameter* parameter = handle->design->parameter(id)) {
                return {parameter->name.c_str(), ok};
            }
            const RuntimeParameter* parameter = runtimeParameter(id);
            return parameter == nullptr ? failed<const char*>(unknown) : Outcome<const char*>{parameter->name, ok};
        });
}

const DesignNode* virtualBoard_Fg_getDesignTree(void* opaque) {
    auto* handle = static_cast<RuntimeHandle*>(opaque);
    return callRuntime(
        handle,
        [&] {
            return Call{boardOf(handle), "Fg_getDesignTree", "", false};
        },
        [](const auto&) { return CallValue{}; },
        [&] {
            return Outcome<const DesignNode*>{handle->design->tree(), ok};
        });
}

std::int32_t virtualBoard_Fg_setParameter(void* handle, std::int32_t id, const void* value, std::uint32_t port) {
    return set("Fg_setParameter", handle, id, value, port, true, typeNone);
}

std::int32_t virtualBoard_Fg_getParameter(void* handle, std::int32_t id, void* value, std::uint32_t port) {
    return get("Fg_getParameter", handle, id, value, port, true, typeNone);
}

std::int32_t virtualBoard_Fg_setParameterWithType(void* handle, std::int32_t id, const void* value, std::uint32_t index,
                                                  std::int32_t type) {
    return set("Fg_setParameterWithType", handle, id, value, index, false, type);
}

std::int32_t virtualBoard_Fg_getParameterWithType(void* handle, std::int32_t id, void* value, std::uint32_t index,
                                                  std::int32_t type) {
    return get("Fg_getParameterWithType", handle, id, value, index, false, type);
}

std::int64_t virtualBoard_Fg_getStatusEx(void* opaque, std::int32_t parameter, std::uint64_t, std::uint32_t dmaIndex,
                                         void*) {
    const auto status = [parameter](const Board& board) -> std::int64_t {
        const Acquisition& acquisition = board.acquisition();
        switch (parameter) {
        case VIRTUAL_BOARD_STATUS_ACQUIRING:
            return acquisition.isAcquiring() ? 1 : 0;
        case VIRTUAL_BOARD_STATUS_PICTURES_ACQUIRED:
            return acquisition.memory() == nullptr ? 0 : acquisition.memory()->last();
        case VIRTUAL_BOARD_STATUS_PICTURES_LOST:
            return static_cast<std::int64_t>(acquisition.lost());
        default:
            return unknown;
        }
    };
    return onDma<std::int64_t>("Fg_getStatusEx", opaque, dmaIndex, parameter, [&](const RuntimeHandle& handle) {
        return handle.board->whileRunning(*handle.design, status);
    });
}

std::int32_t virtualBoard_Fg_AcquireEx(void* opaque, std::uint32_t dmaIndex, std::int64_t pictureCount,
                                       std::int32_t flag, void* memory) {
    return onMemory<std::int32_t>("Fg_AcquireEx", opaque, dmaIndex, memory, pictureCount,
                                  [&](Board& board, const std::shared_ptr<FrameMemory>& frames) {
                                      if (flag != VIRTUAL_BOARD_ACQUIRE_STANDARD) {
                                          return unknown;
                                      }
                                      if (pictureCount < 1 && pictureCount != Acquisition::endless) {
                                          return outOfRange;
                                      }
                                      return board.acquire(frames, pictureCount) ? ok : acquiring;
                                  });
}

std::int32_t virtualBoard_Fg_stopAcquireEx(void* opaque, std::uint32_t dmaIndex, void* memory, std::int32_t) {
    return onMemory<std::int32_t>("Fg_stopAcquireEx", opaque, dmaIndex, memory, 0,
                                  [&](Board& board, const std::shared_ptr<FrameMemory>& frames) {
                                      if (board.acquisition().memory() != frames) {
                                          return notAcquiring;
                                      }
                                      board.stopAcquiring();
                                      return ok;
                                  });
}

std::int64_t virtualBoard_Fg_getLastPicNumberEx(void* opaque, std::uint32_t dmaIndex, void* memory) {
    return onMemory<std::int64_t>("Fg_getLastPicNumberEx", opaque, dmaIndex, memory, 0,
                                  [&](const Board& board, const std::shared_ptr<FrameMemory>& frames) {
                                      return board.acquisition().memory() == frames ? frames->last() : notAcquiring;
                                  });
}

std::int64_t virtualBoard_Fg_getLastPicNumberBlockingEx(void* opaque, std::int64_t picture, std::uint32_t dmaIndex,
                                                        std::int32_t timeout, void* memory) {
    return onMemory<std::int64_t>("Fg_getLastPicNumberBlockingEx", opaque, dmaIndex, memory, picture,
                                  [&](Board& board, const std::shared_ptr<FrameMemory>& frames) -> std::int64_t {
                                      if (board.acquisition().memory() != frames) {
                                          return notAcquiring;
                                      }
                                      if (timeout < 0) {
                                          return outOfRange;
                                      }
                                      const std::uint64_t seconds = static_cast<std::uint32_t>(timeout);
                                      board.waitForPicture(
                                          picture, std::min(seconds * nanosecondsPerSecond, Board::longestAdvance));
                                      return frames->last() >= picture ? frames->last() : timedOut;
                                  });
}

// Acquisition needs memory here; configurations and line-by-line shading are the applet's own task.

std::int32_t virtualBoard_Fg_Acquire(void* handle, std::uint32_t, std::int64_t) {
    return refuse<std::int32_t>("Fg_Acquire", handle);
}

std::int32_t virtualBoard_Fg_stopAcquire(void* handle, std::uint32_t) {
    return refuse<std::int32_t>("Fg_stopAcquire", handle);
}

std::int32_t virtualBoard_Fg_saveConfig(void* handle, const char*) {
    return refuse<std::int32_t>("Fg_saveConfig", handle);
}

std::int32_t virtualBoard_Fg_loadConfig(void* handle, const char*) {
    return refuse<std::int32_t>("Fg_loadConfig", handle);
}

void* virtualBoard_Fg_AllocShading(void* handle, std::int32_t, std::int32_t) {
    return refuse<void*>("Fg_AllocShading", handle);
}

std::int32_t virtualBoard_Fg_FreeShading(void* handle, void*) {
    return refuse<std::int32_t>("Fg_FreeShading", handle);
}

std::int32_t virtualBoard_Shad_SetSubValueLine(void* handle, void*, std::int32_t, std::int32_t, float) {
    return refuse<std::int32_t>("Shad_SetSubValueLine", handle);
}

std::int32_t virtualBoard_Shad_SetMultValueLine(void* handle, void*, std::int32_t, std::int32_t, float) {
    return refuse<std::int32_t>("Shad_SetMultValueLine", handle);
}

std::int32_t virtualBoard_Shad_SetFixedPatternNoiseLine(void* handle, void*, std::int32_t, std::int32_t, std::int32_t) {
    return refuse<std::int32_t>("Shad_SetFixedPatternNoiseLine", handle);
}

std::int32_t virtualBoard_Shad_GetMaxLine(void* handle, void*) {
    return refuse<std::int32_t>("Shad_GetMaxLine", handle);
}

std::int32_t virtualBoard_Shad_GetAccess(void* handle, void*) {
    return refuse<std::int32_t>("Shad_GetAccess", handle);
}

std::int32_t virtualBoard_Shad_FreeAccess(void* handle, void*) {
    return refuse<std::int32_t>("Shad_FreeAccess", handle);
}

std::int32_t virtualBoard_Shad_WriteActLine(void* handle, void*, std::int32_t) {
    return refuse<std::int32_t>("Shad_WriteActLine", handle);
}
