#pragma once

#include "model/acquisition/image_settings.h"
#include "model/design.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qelm::virtual_board {

/** The values of a design's parameters and registers on one board. Not synchronised; the board's lock covers it. */
class DesignValues {
  public:
    /** What hears of writes, so that the parts of the design that act on their own can follow. */
    struct Listener {
        std::function<void(const DesignParameter&)> parameterWritten; ///< a word was; of a command, a pulse was issued
        std::function<void()> registerWritten;
    };

    /** The values at power-on. The design has to live as long. */
    DesignValues(const Design& design, Listener listener);
    DesignValues(const DesignValues&) = delete;
    DesignValues& operator=(const DesignValues&) = delete;

    // As the runtime and the register library reach them: access, kind and limits apply. All answer a code; the
    // parameter is the design's, of a kind that has such a value.
    std::int32_t setWord(const DesignParameter& parameter, std::uint32_t value);
    std::int32_t setNumber(const DesignParameter& parameter, double value);
    std::int32_t setText(const DesignParameter& parameter, const char* value);
    std::int32_t setElements(const DesignParameter& parameter, std::uint32_t start, std::uint32_t count,
                             const std::uint32_t* values);
    std::int32_t getWord(const DesignParameter& parameter, std::uint32_t& value) const;
    std::int32_t getNumber(const DesignParameter& parameter, double& value) const;
    std::int32_t getText(const DesignParameter& parameter, char* value) const;
    std::int32_t getElements(const DesignParameter& parameter, std::uint32_t start, std::uint32_t count,
                             std::uint32_t* values) const;
    std::int32_t writeRegister(std::uint32_t address, std::uint64_t value);
    std::int32_t readRegister(std::uint32_t address, std::uint64_t& value) const;

    // As the hardware itself reaches them: null for what does not exist.
    /** Element `index` of an integer or field; 0 is the only one of an integer. */
    std::uint32_t* word(const char* name, std::uint32_t index);
    const std::string* text(const char* name) const;
    /** How many pulses a command has issued. */
    const std::uint64_t* pulses(const char* name) const;
    const std::uint64_t* registerValue(const char* name) const;
    /** @return whether there is such a register */
    bool putRegister(const char* name, std::uint64_t value);

    std::vector<std::uint32_t>& words() { return words_; } ///< by slot; they stay in place
    const CoefficientPlanes& coefficients() const { return coefficients_; }

  private:
    std::int32_t pulse(const DesignParameter& command);
    std::int32_t loadCoefficients(const DesignParameter& command);
    std::size_t indexOf(const DesignRegister& entry) const {
        return static_cast<std::size_t>(&entry - design_.registers().data());
    }

    const Design& design_;
    Listener listener_;
    std::vector<std::uint32_t> words_;
    std::vector<double> numbers_;
    std::vector<std::string> texts_;
    std::vector<std::uint64_t> pulses_; // by the slot of the command's word
    std::vector<std::uint64_t> registers_;
    CoefficientPlanes coefficients_;
};

} // namespace qelm::virtual_board
