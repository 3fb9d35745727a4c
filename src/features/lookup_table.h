#pragma once

#include "description/information.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"
#include "zantor_obvelline_qx4_rk/applet.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace qelm::features {

/** How the processor fills the lookup table. */
struct ProcessorSettings {
    double offset = 0.0; ///< of the input, which runs from 0 to 1
    double gain = 1.0;
    double gamma = 1.0;
    bool invert = false;
};

/** Fills a table of 12 bits in and out: entry i is ((i / 4095 + offset) * gain) ^ (1 / gamma) of full scale. */
void computeProcessorTable(const ProcessorSettings& settings, std::span<std::uint32_t, 4096> table);

/** The lookup table between sensor data and output, filled by the processor, from a user file or entry by entry. */
class LookupTable {
  public:
    static constexpr std::size_t entryCount = 4096;

    LookupTable(parameters::DesignAccess& design, description::Information& information);

    void enroll(parameters::Dispatch& dispatch);

  private:
    /** FG_LUT_VALUE: an entry named by the index in the value itself. */
    class Entry final : public parameters::Parameter {
      public:
        explicit Entry(LookupTable& table);
        void get(void* value) override;
        void set(const void* value, parameters::OnFailure onFailure) override;
        void assign(const void* value) override;

      private:
        LookupTable& owner_;
    };

    void fill();
    void process();
    void loadFile();
    void saveFile();
    void writeTable();
    void updateAccess();

    parameters::DesignAccess& design_;
    description::Information& information_;
    std::array<std::uint32_t, entryCount> table_{}; ///< what the design was told last; entry i is the output for i
    parameters::Remembered<std::int32_t> type_;
    parameters::Remembered<std::string> customFile_;
    parameters::Remembered<std::string> saveFile_;
    parameters::Remembered<double> offset_;
    parameters::Remembered<double> gain_;
    parameters::Remembered<double> gamma_;
    parameters::Remembered<std::int32_t> invert_;
    Entry entry_;
    parameters::ReadOnly<std::int32_t> implementation_;
    parameters::ReadOnly<std::uint32_t> inBits_;
    parameters::ReadOnly<std::uint32_t> outBits_;
};

} // namespace qelm::features
