// Std_entry: brings one board from nothing to a ready applet object.

#include "applet/fg_ze_wrapper_impl.h"
#include "applet/identity.h"
#include "applet/resources.h"
#include "platform/operating_system.h"
#include "vendor/nuvrod.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <memory>
#include <new>

namespace qelm::applet {
namespace {

constexpr const char* runtimeLibrary = "nuvrak5";
constexpr std::int32_t loaderFlag = 1;

void* openDesignImage(const char* fileName) {
    if (platform::environmentVariable("__QELM_FORCE_EXTERNAL_HAP")) { // presence counts, not the value
        return loadDesignImageFile(fileName, identity::designNumber, loaderFlag);
    }
    const auto image = embeddedDesignImage();
    return loadDesignImageMemory(image.data(), image.size(), loaderFlag);
}

/** Starts an applet; null with the code in `error` when that fails. */
std::unique_ptr<FgZeWrapperImpl> start(void* board, std::int32_t mode, std::int32_t& error) {
    if (mode != 0) {
        error = FG_ERROR_UNKNOWN;
        return nullptr;
    }
    auto applet = std::make_unique<FgZeWrapperImpl>(); // the one shortage of memory that callers see as an exception
    try {
        error = applet->binding().bindRuntime(platform::sharedLibraryFileName(runtimeLibrary));
        if (error != 0) {
            return nullptr;
        }
        const char* hapFileName = FgZeWrapperImpl::designImageFileName();
        void* designImage = openDesignImage(hapFileName);
        if (designImage == nullptr) {
            // The object stays allocated: the runtime library must stay loaded, and nobody is left to free either.
            static_cast<void>(applet.release());
            error = FG_ERROR_DESIGN_IMAGE;
            return nullptr;
        }
        error = applet->binding().initRuntimeHandle(hapFileName, board, designImage, false);
        if (error != 0) {
            releaseDesignImage(designImage);
            return nullptr;
        }
        applet->binding().setBoardAndImage(board, designImage);
        applet->registerParameters();
        applet->bindDesign();
        applet->buildParameterInfo();
        applet->prepareDesign();
        applet->applyInitialSettings();
        return applet;
    } catch (const std::bad_alloc&) {
        applet->binding().freeRuntimeHandle();
        error = FG_ERROR_SYSTEM;
        return nullptr;
    }
}

} // namespace
} // namespace qelm::applet

extern "C" void* Std_entry(void* board, std::int32_t* errorOut, std::int32_t mode) {
    std::int32_t error = 0;
    qelm::applet::FgZeWrapper* applet = qelm::applet::start(board, mode, error).release();
    if (errorOut != nullptr) {
        *errorOut = error;
    }
    return applet;
}
