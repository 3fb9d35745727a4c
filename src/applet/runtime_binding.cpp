#include "applet/runtime_binding.h"

#include "platform/operating_system.h"
#include "vendor/nuvrod.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <utility>

namespace qelm::applet {
namespace {

// Relaxed: several boards may start at a time, and any of them is as good as the last.
std::atomic<void*> processLastBoard = nullptr;
std::atomic<void*> processLastDesignImage = nullptr;

void storeUnlessNull(std::atomic<void*>& last, void* value) {
    if (value != nullptr) {
        last.store(value, std::memory_order_relaxed);
    }
}

} // namespace

void* lastBoard() {
    return processLastBoard.load(std::memory_order_relaxed);
}
void* lastDesignImage() {
    return processLastDesignImage.load(std::memory_order_relaxed);
}

RuntimeBinding::~RuntimeBinding() {
    if (runtimeModule_ != nullptr) {
        platform::freeSharedLibrary(runtimeModule_);
    }
    if (designImage_ != nullptr) {
        releaseDesignImage(designImage_);
    }
}

template <typename Pointer>
Pointer RuntimeBinding::resolve(const char* name) const {
    return reinterpret_cast<Pointer>(platform::resolveFunction(runtimeModule_, name));
}

std::int32_t RuntimeBinding::bindRuntime(const std::string& libraryFileName) {
    runtimeModule_ = platform::loadSharedLibrary(libraryFileName);
    if (runtimeModule_ == nullptr) {
        return setLastError(FG_ERROR_RUNTIME_LIBRARY);
    }
    functions_->fill([this](const char* name) { return resolve<void*>(name); });
    getParameterIdByName_ = resolve<vendor::GetParameterIdByName>("Fg_getParameterIdByName");
    getDesignTree_ = resolve<vendor::GetDesignTree>("Fg_getDesignTree");
    return 0;
}

std::int32_t RuntimeBinding::initRuntimeHandle(const char* hapFileName, void* board, void* designImage, bool isSlave) {
    const auto initSlaveAware = resolve<vendor::InitHandleSlaveAware>("Fg_InitHandleSlaveAware");
    const auto init = resolve<vendor::InitHandle>("Fg_InitHandle");
    if (initSlaveAware == nullptr && init == nullptr) {
        return setLastError(FG_ERROR_RUNTIME_LIBRARY);
    }
    runtimeHandle_ = initSlaveAware != nullptr ? initSlaveAware(hapFileName, board, designImage, isSlave ? 1 : 0)
                                               : init(hapFileName, board, designImage);
    if (runtimeHandle_ == nullptr) {
        const auto runtimeError = functions()[vendor::runtime::Fg_getLastErrorNumber];
        return setLastError(runtimeError != nullptr ? runtimeError(nullptr) : FG_ERROR_DESIGN_IMAGE);
    }
    storeUnlessNull(processLastBoard, board);
    storeUnlessNull(processLastDesignImage, designImage);
    return 0;
}

void RuntimeBinding::freeRuntimeHandle() {
    const auto freeGrabber = functions()[vendor::runtime::Fg_FreeGrabber];
    if (freeGrabber != nullptr && runtimeHandle_ != nullptr) {
        freeGrabber(std::exchange(runtimeHandle_, nullptr));
    }
}

void RuntimeBinding::setBoardAndImage(void* board, void* designImage) {
    board_ = board;
    designImage_ = designImage;
}

std::int32_t RuntimeBinding::designParameterId(const char* name) const {
    return getParameterIdByName_ == nullptr ? 0 : getParameterIdByName_(runtimeHandle_, name);
}

const DesignNode* RuntimeBinding::designTree() const {
    return getDesignTree_ == nullptr ? nullptr : getDesignTree_(runtimeHandle_);
}

std::int32_t RuntimeBinding::fetchRuntimeError() const {
    const auto runtimeError = functions()[vendor::runtime::Fg_getLastErrorNumber];
    return runtimeError != nullptr && runtimeHandle_ != nullptr ? runtimeError(runtimeHandle_) : FG_ERROR_NOT_AVAILABLE;
}

} // namespace qelm::applet
