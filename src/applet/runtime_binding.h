#pragma once

#include "vendor/runtime_function_table.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace qelm::applet {

/**
 * The connection of one applet object to the acquisition runtime, its board and its design image. Owns the runtime
 * library's handle and the design image and gives both back when it is destroyed.
 */
class RuntimeBinding {
  public:
    RuntimeBinding() = default;
    RuntimeBinding(const RuntimeBinding&) = delete;
    RuntimeBinding& operator=(const RuntimeBinding&) = delete;
    ~RuntimeBinding();

    /** Loads the runtime library and resolves its functions. @return 0 or -2031 */
    std::int32_t bindRuntime(const std::string& libraryFileName);
    /**
     * Obtains the runtime's handle for the board.
     * @return 0, -2031 without an init function, or the code of the failed initialisation
     */
    std::int32_t initRuntimeHandle(const char* hapFileName, void* board, void* designImage, bool isSlave);
    /** Gives the runtime's handle back, of a start-up that cannot be completed. */
    void freeRuntimeHandle();
    void setBoardAndImage(void* board, void* designImage);

    const vendor::RuntimeFunctionTable& functions() const { return *functions_; }
    vendor::GetParameterIdByName getParameterIdByName() const { return getParameterIdByName_; }
    /** The runtime's identifier of a design parameter; 0 when it knows none of that name. */
    std::int32_t designParameterId(const char* name) const;
    /** The root of the design parameter tree, or null. */
    const DesignNode* designTree() const;
    void* runtimeHandle() const { return runtimeHandle_; }
    void* board() const { return board_; }
    void* designImage() const { return designImage_; }

    /** The runtime's last error for this board; -12 when it cannot be asked. */
    std::int32_t fetchRuntimeError() const;

    /** The applet's own last error; written by whichever thread called last. */
    std::int32_t lastError() const { return lastError_.load(std::memory_order_relaxed); }
    std::int32_t setLastError(std::int32_t code) {
        lastError_.store(code, std::memory_order_relaxed);
        return code;
    }

  private:
    template <typename Pointer>
    Pointer resolve(const char* name) const;

    std::unique_ptr<vendor::RuntimeFunctionTable> functions_ = std::make_unique<vendor::RuntimeFunctionTable>();
    void* runtimeHandle_ = nullptr;
    void* board_ = nullptr;
    void* designImage_ = nullptr;
    void* runtimeModule_ = nullptr;
    vendor::GetParameterIdByName getParameterIdByName_ = nullptr;
    vendor::GetDesignTree getDesignTree_ = nullptr;
    std::atomic<std::int32_t> lastError_ = 0;
};

/** What the most recent successful start-up in this process bound; Info answers from it. */
void* lastBoard();
void* lastDesignImage();

} // namespace qelm::applet
