#pragma once

#include "qelm/host/board.h"
#include "qelm/host/system.h"

#include "vendor/nuvrak5.h"
#include "vendor/nuvrod.h"

#include <cstdint>
#include <stdexcept>

namespace qelm::bench {

/** The runtime by itself on a board of its own, as an applet would find it. */
class Runtime {
  public:
    explicit Runtime(const host::Applet& applet) : board_(applet.virtualBoard()->open()) {
        loader_.resolve(loadDesignImageMemory_, "loadDesignImageMemory");
        runtime_.resolve(initHandle_, "Fg_InitHandle");
        runtime_.resolve(getParameterIdByName_, "Fg_getParameterIdByName");
        runtime_.resolve(setParameterWithType_, "Fg_setParameterWithType");
        const void* image = nullptr;
        applet->Info(1042, 0, 0, nullptr, &image);
        handle_ = initHandle_("", board_, loadDesignImageMemory_(image, applet.infoSize(1042), 1));
        if (handle_ == nullptr) {
            throw std::runtime_error("the runtime does not start");
        }
    }
    std::int32_t idOf(const char* name) const { return getParameterIdByName_(handle_, name); }
    std::int32_t set(std::int32_t id, const void* value) const {
        return setParameterWithType_(handle_, id, value, 0, RUNTIME_VALUE_UINT32);
    }

  private:
    static host::Library open(const char* name) {
        return host::Library(host::executableFolder() / host::libraryFileName(name));
    }

    host::Library loader_ = open("nuvrod");
    host::Library runtime_ = open("nuvrak5");
    decltype(&::loadDesignImageMemory) loadDesignImageMemory_ = nullptr;
    void* (*initHandle_)(const char*, void*, void*) = nullptr;
    std::int32_t (*getParameterIdByName_)(void*, const char*) = nullptr;
    std::int32_t (*setParameterWithType_)(void*, std::int32_t, const void*, std::uint32_t, std::int32_t) = nullptr;
    VirtualBoard* board_;
    void* handle_ = nullptr;
};

} // namespace qelm::bench
