#pragma once

#include "qelm/host/board.h"
#include "qelm/host/system.h"

#include "vendor/nuvrak5.h"
#include "vendor/nuvrod.h"
#include "vendor/qelm_hw.h"

#include <cstdint>
#include <span>
#include <stdexcept>

namespace qelm::bench {

/** The runtime by itself on a board of its own, as an applet would find it. */
class Runtime {
  public:
    explicit Runtime(const host::Applet& applet)
        : control_(*applet.virtualBoard())
        , board_(applet.virtualBoard()->open()) {
        loader_.resolve(loadDesignImageMemory_, "loadDesignImageMemory");
        loader_.resolve(releaseDesignImage_, "releaseDesignImage");
        loader_.resolve(getDesignRegisterAddress_, "getDesignRegisterAddress");
        registers_.resolve(writeRegister_, "writeRegister");
        runtime_.resolve(initHandle_, "Fg_InitHandle");
        runtime_.resolve(freeGrabber_, "Fg_FreeGrabber");
        runtime_.resolve(getParameterIdByName_, "Fg_getParameterIdByName");
        runtime_.resolve(setParameterWithType_, "Fg_setParameterWithType");
        const void* bytes = nullptr;
        applet->Info(1042, 0, 0, nullptr, &bytes);
        image_ = loadDesignImageMemory_(bytes, applet.infoSize(1042), 1);
        handle_ = initHandle_("", board_, image_);
        if (handle_ == nullptr) {
            throw std::runtime_error("the runtime does not start");
        }
    }
    ~Runtime() {
        freeGrabber_(handle_);
        releaseDesignImage_(image_);
        control_.close(board_);
    }
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    std::int32_t idOf(const char* name) const { return getParameterIdByName_(handle_, name); }
    std::int32_t set(std::int32_t id, const void* value) const {
        return setParameterWithType_(handle_, id, value, 0, RUNTIME_VALUE_UINT32);
    }
    std::int32_t setElement(std::int32_t id, FieldElement element) const {
        return setParameterWithType_(handle_, id, &element, 0, RUNTIME_VALUE_FIELD_ELEMENT);
    }
    std::int32_t setField(std::int32_t id, std::span<const std::uint32_t> values) const {
        const FieldAccess field{RUNTIME_VALUE_UINT32, 0, static_cast<std::uint32_t>(values.size()), values.data()};
        return setParameterWithType_(handle_, id, &field, 0, RUNTIME_VALUE_FIELD);
    }
    std::uint32_t addressOf(const char* name) const { return getDesignRegisterAddress_(image_, name); }
    std::int32_t writeRegister(std::uint32_t address, std::uint64_t value) const {
        return writeRegister_(board_, address, value, 0);
    }

  private:
    static host::Library open(const char* name) {
        return host::Library(host::executableFolder() / host::libraryFileName(name));
    }

    host::Library loader_ = open("nuvrod");
    host::Library registers_ = open("qelm_hw");
    host::Library runtime_ = open("nuvrak5");
    decltype(&::loadDesignImageMemory) loadDesignImageMemory_ = nullptr;
    decltype(&::releaseDesignImage) releaseDesignImage_ = nullptr;
    decltype(&::getDesignRegisterAddress) getDesignRegisterAddress_ = nullptr;
    decltype(&::writeRegister) writeRegister_ = nullptr;
    std::int32_t (*freeGrabber_)(void*) = nullptr;
    void* (*initHandle_)(const char*, void*, void*) = nullptr;
    std::int32_t (*getParameterIdByName_)(void*, const char*) = nullptr;
    std::int32_t (*setParameterWithType_)(void*, std::int32_t, const void*, std::uint32_t, std::int32_t) = nullptr;
    const host::VirtualBoardFunctions& control_;
    VirtualBoard* board_;
    void* image_ = nullptr;
    void* handle_ = nullptr;
};

} // namespace qelm::bench
