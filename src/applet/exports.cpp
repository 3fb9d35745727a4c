// The exported functions of one board: find the applet object, forward, record the error. They take no lock.

#include "applet/fg_ze_wrapper.h"
#include "zantor_obvelline_qx4_rk/applet.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace {

using qelm::applet::FgZeWrapper;
namespace runtime = qelm::vendor::runtime;

FgZeWrapper* appletOf(const BoardStructure* board) {
    return board == nullptr ? nullptr : static_cast<FgZeWrapper*>(board->applet);
}

/** What an export answers when it fails: the code, or 0 or null where it answers something else than codes. */
template <typename Result>
Result failure(std::int32_t code) {
    if constexpr (std::is_same_v<Result, std::int32_t>) {
        return code;
    } else {
        return Result{};
    }
}

/** Calls `use(applet)` with the board's applet. The barrier where a shortage of memory ends: callers may be written in
 *  any language. */
template <typename Use>
auto withApplet(const BoardStructure* board, Use use) -> decltype(use(std::declval<FgZeWrapper&>())) {
    using Result = decltype(use(std::declval<FgZeWrapper&>()));
    FgZeWrapper* applet = appletOf(board);
    if (applet == nullptr) {
        return failure<Result>(FG_ERROR_INVALID_BOARD);
    }
    try {
        return use(*applet);
    } catch (const std::bad_alloc&) {
        return failure<Result>(applet->setLastError(FG_ERROR_SYSTEM));
    }
}

/** Forwards to an operation of the applet. */
template <typename Result, typename... Parameters, typename... Arguments>
Result forward(const BoardStructure* board, Result (FgZeWrapper::*operation)(Parameters...), Arguments... arguments) {
    return withApplet(board, [&](FgZeWrapper& applet) { return (applet.*operation)(arguments...); });
}

/** As forward, for the shading operations, whose result becomes the last error. */
template <typename... Parameters, typename... Arguments>
std::int32_t forwardShading(const BoardStructure* board, std::int32_t (FgZeWrapper::*operation)(Parameters...),
                            Arguments... arguments) {
    return withApplet(board,
                      [&](FgZeWrapper& applet) { return applet.setLastError((applet.*operation)(arguments...)); });
}

/** Forwards to a function of the runtime; a negative result leaves the runtime's own error as the last one. */
template <typename Result, typename... Parameters, typename... Arguments>
Result forwardToRuntime(BoardStructure* board,
                        const qelm::vendor::RuntimeFunction<Result (*)(void*, Parameters...)>& function,
                        Arguments... arguments) {
    FgZeWrapper* applet = appletOf(board);
    if (applet == nullptr) {
        return FG_ERROR_INVALID_BOARD;
    }
    const auto call = applet->getFunctionTable()[function];
    if (call == nullptr || applet->getRuntimeHandle() == nullptr) {
        return applet->setLastError(FG_ERROR_NOT_AVAILABLE);
    }
    const Result result = call(applet->getRuntimeHandle(), arguments...);
    applet->setLastError(result < 0 ? applet->binding().fetchRuntimeError() : 0);
    return result;
}

// The value types of 64 bits. Their destination is cleared first, since a parameter may fill 32 bits of it.
constexpr std::int32_t unsigned64 = 3;
constexpr std::int32_t signed64 = 4;

} // namespace

extern "C" {

std::int32_t Fg_setParameterWithType(BoardStructure* board, std::int32_t id, const void* value, std::uint32_t port,
                                     std::int32_t type) {
    return forward(board, &FgZeWrapper::setParameterWithType, id, value, static_cast<std::int32_t>(port), type);
}

std::int32_t Fg_getParameterWithType(BoardStructure* board, std::int32_t id, void* value, std::uint32_t port,
                                     std::int32_t type) {
    if (appletOf(board) != nullptr && value != nullptr && (type == unsigned64 || type == signed64)) {
        std::memset(value, 0, sizeof(std::uint64_t));
    }
    return forward(board, &FgZeWrapper::getParameterWithType, id, value, static_cast<std::int32_t>(port), type);
}

std::int32_t Fg_getParameterIdByName(BoardStructure* board, const char* name) {
    return forward(board, &FgZeWrapper::getParameterIdByName, name);
}

const char* Fg_getParameterName(BoardStructure* board, std::int32_t index) {
    return forward(board, &FgZeWrapper::getParameterName, index);
}

std::int32_t Fg_getParameterId(BoardStructure* board, std::int32_t index) {
    return forward(board, &FgZeWrapper::getParameterId, index);
}

std::int32_t Fg_getNrOfParameter(BoardStructure* board) {
    return forward(board, &FgZeWrapper::getNrOfParameter);
}

std::int32_t Fg_saveConfig(BoardStructure* board, const char* fileName) {
    return withApplet(board,
                      [=](FgZeWrapper& applet) { return applet.saveConfig(applet.getRuntimeHandle(), fileName); });
}

std::int32_t Fg_loadConfig(BoardStructure* board, const char* fileName) {
    return withApplet(board,
                      [=](FgZeWrapper& applet) { return applet.loadConfig(applet.getRuntimeHandle(), fileName); });
}

std::int32_t Fg_getParameterInfoXML(BoardStructure* board, std::int32_t port, char* buffer, std::size_t* bufferSize) {
    return forward(board, &FgZeWrapper::getParameterInfoXML, board, port, buffer, bufferSize);
}

ShadingAccess* Fg_AllocShading(BoardStructure* board, std::int32_t set, std::int32_t port) {
    return withApplet(board, [=](FgZeWrapper& applet) {
        ShadingAccess* shading = applet.allocShading(set, port);
        applet.setLastError(shading == nullptr ? FG_ERROR_SYSTEM : 0);
        return shading;
    });
}

std::int32_t Fg_FreeShading(BoardStructure* board, ShadingAccess* shading) {
    return forwardShading(board, &FgZeWrapper::freeShading, shading);
}

std::int32_t Shad_SetSubValueLine(BoardStructure* board, ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                  float value) {
    return forwardShading(board, &FgZeWrapper::setSubValueLine, shading, x, channel, value);
}

std::int32_t Shad_SetMultValueLine(BoardStructure* board, ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                   float value) {
    return forwardShading(board, &FgZeWrapper::setMultValueLine, shading, x, channel, value);
}

std::int32_t Shad_SetFixedPatternNoiseLine(BoardStructure* board, ShadingAccess* shading, std::int32_t x,
                                           std::int32_t channel, std::int32_t on) {
    return forwardShading(board, &FgZeWrapper::setFixedPatternNoiseLine, shading, x, channel, on);
}

std::int32_t Shad_GetMaxLine(BoardStructure* board, ShadingAccess* shading) {
    return forwardShading(board, &FgZeWrapper::getMaxLine, shading);
}

std::int32_t Shad_GetAccess(BoardStructure* board, ShadingAccess* shading) {
    return forwardShading(board, &FgZeWrapper::getAccess, shading);
}

std::int32_t Shad_FreeAccess(BoardStructure* board, ShadingAccess* shading) {
    return forwardShading(board, &FgZeWrapper::freeAccess, shading);
}

std::int32_t Shad_WriteActLine(BoardStructure* board, ShadingAccess* shading, std::int32_t line) {
    return forwardShading(board, &FgZeWrapper::writeActLine, shading, line);
}

std::uint64_t Fg_getEventMask(BoardStructure* board, const char* name) {
    return forward(board, &FgZeWrapper::getEventMask, name);
}

const char* Fg_getEventName(BoardStructure* board, std::uint64_t mask) {
    return forward(board, &FgZeWrapper::getEventName, mask);
}

std::int32_t Fg_getLastErrorNumber(BoardStructure* board) {
    return withApplet(board, [](const FgZeWrapper& applet) { return applet.getLastError(); });
}

std::int32_t Fg_getAppletId(BoardStructure* board, void* argument) {
    return forwardToRuntime(board, runtime::Fg_getAppletId, argument);
}

std::int64_t Fg_getStatusEx(BoardStructure* board, std::int32_t parameter, std::uint64_t data, std::uint32_t dmaIndex,
                            void* memory) {
    return forwardToRuntime(board, runtime::Fg_getStatusEx, parameter, data, dmaIndex, memory);
}

std::int32_t Fg_AcquireEx(BoardStructure* board, std::uint32_t dmaIndex, std::int64_t pictureCount, std::int32_t flag,
                          void* memory) {
    return forwardToRuntime(board, runtime::Fg_AcquireEx, dmaIndex, pictureCount, flag, memory);
}

std::int32_t Fg_stopAcquireEx(BoardStructure* board, std::uint32_t dmaIndex, void* memory, std::int32_t flag) {
    return forwardToRuntime(board, runtime::Fg_stopAcquireEx, dmaIndex, memory, flag);
}

std::int64_t Fg_getLastPicNumberEx(BoardStructure* board, std::uint32_t dmaIndex, void* memory) {
    return forwardToRuntime(board, runtime::Fg_getLastPicNumberEx, dmaIndex, memory);
}

std::int64_t Fg_getLastPicNumberBlockingEx(BoardStructure* board, std::int64_t picture, std::uint32_t dmaIndex,
                                           std::int32_t timeout, void* memory) {
    return forwardToRuntime(board, runtime::Fg_getLastPicNumberBlockingEx, picture, dmaIndex, timeout, memory);
}

const char* Fg_getParameterInfo(BoardStructure* board, std::int32_t id) {
    return withApplet(board, [=](FgZeWrapper& applet) {
        const bool answers =
            applet.getRuntimeHandle() != nullptr && applet.getFunctionTable()[runtime::Fg_getParameterInfo] != nullptr;
        return answers ? applet.forwardParameterInfo(id) : nullptr;
    });
}

std::int32_t Fg_FreeGrabber(BoardStructure* board) {
    FgZeWrapper* applet = appletOf(board);
    if (applet == nullptr) {
        return FG_ERROR_INVALID_BOARD;
    }
    const auto freeGrabber = applet->getFunctionTable()[runtime::Fg_FreeGrabber];
    std::int32_t result = 0;
    // Either one asks for the call; a runtime that lacks the function cannot be called all the same.
    if (freeGrabber != nullptr || applet->getRuntimeHandle() != nullptr) {
        result = freeGrabber != nullptr ? freeGrabber(applet->getRuntimeHandle()) : FG_ERROR_NOT_AVAILABLE;
    }
    board->applet = nullptr;
    delete applet; // throws when an operation of the board is still running; a smart pointer would not let that through
    return result;
}

} // extern "C"
