#pragma once

#include "vendor/runtime_function_table.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qelm::parameters {

/** The design parameters that the applet drives; see design_parameters.inc. */
enum class DesignParameter : std::uint8_t {
#define DESIGN_PARAMETER(symbol, name) symbol,
#include "parameters/design_parameters.inc"
};

inline constexpr std::size_t designParameterCount = 0
#define DESIGN_PARAMETER(symbol, name) +1
#include "parameters/design_parameters.inc"
    ;

/** The raw registers of the camera simulator, named as in the design. */
enum class SimulatorRegister : std::uint8_t {
    AAGenEnable,
    AAGenStart,
    AAGenWidth,
    AAGenLineWidth,
    AAGenHeight,
    AAGenActive,
    AAGenPassive,
    AAGenMask,
    AAGenRoll,
};

/**
 * The one way to the hardware: design parameters through the runtime, simulator registers through the register
 * library, runtime parameters through the runtime. Failures are thrown as the code that came back.
 */
class DesignAccess {
  public:
    static constexpr std::size_t simulatorRegisterCount = 9;

    /** Resolves design parameters and register addresses by name; once, after runtime and design image are bound. */
    void bind(const vendor::RuntimeFunctionTable& functions, vendor::GetParameterIdByName getParameterIdByName,
              void* runtimeHandle, void* board, void* designImage);

    /** Writes a scalar. */
    void write(DesignParameter parameter, std::uint32_t value);
    /** Writes one element of a lookup-table content. */
    void write(DesignParameter parameter, FieldElement element);
    /** Writes part of a lookup-table content. */
    void write(DesignParameter parameter, const FieldAccess& field);
    /** Has a command register issue one pulse. */
    void pulse(DesignParameter command) { write(command, 2); }
    void writePath(DesignParameter parameter, const std::string& path);
    std::uint32_t read(DesignParameter parameter) const;

    /** Writes a register and keeps the value as its shadow when that succeeded. */
    void write(SimulatorRegister target, std::uint64_t value);
    /** The value last written successfully. */
    std::uint64_t shadow(SimulatorRegister target) const { return registers_[static_cast<std::size_t>(target)].shadow; }

    /** Parameters that the runtime itself serves, and design parameters by the runtime's identifier.
     *  @return 0 or the runtime's code; -12 when the runtime lacks the function */
    std::int32_t setRuntimeParameter(std::int32_t id, const void* value, std::uint32_t port);
    std::int32_t getRuntimeParameter(std::int32_t id, void* value, std::uint32_t port) const;

    /** Any register of the design by its address: 64 bits at `value` when the register is wider than 32, else 32.
     *  @return 0 or the register library's code */
    std::int32_t setDirectRegister(std::uint32_t address, const void* value);
    std::int32_t getDirectRegister(std::uint32_t address, void* value) const;

  private:
    struct Register {
        const char* name;
        std::uint64_t shadow; // as the design powers up
        std::uint32_t address = 0;
    };

    void writeTyped(DesignParameter parameter, const void* value, std::int32_t type);

    const vendor::RuntimeFunctionTable* functions_ = nullptr;
    void* runtimeHandle_ = nullptr;
    void* board_ = nullptr;
    void* designImage_ = nullptr;
    std::array<std::int32_t, designParameterCount> ids_{}; // 0: the design has no such parameter
    std::array<Register, simulatorRegisterCount> registers_{{
        {"AAGenEnable", 0},
        {"AAGenStart", 1},
        {"AAGenWidth", 2048},
        {"AAGenLineWidth", 2080},
        {"AAGenHeight", 1024},
        {"AAGenActive", 3},
        {"AAGenPassive", 29},
        {"AAGenMask", 15},
        {"AAGenRoll", 1},
    }};
};

} // namespace qelm::parameters
