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

    LookupTable(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                description::Information& information);

  private:
    /** FG_LUT_VALUE: an entry named by the index in the value itself. */
    class Entry final : public parameters::Parameter {
      public:
        Entry(parameters::Dispatch& dispatch, LookupTable& table);
        /** @param request a LutEntry with the index */
        parameters::Value get(const parameters::Value& request) override;
        void set(const parameters::Value& value) override;
        void store(const parameters::Value& value) override;

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
    std::array<std::uint32_t, entryCount> table_{}; ///< entry i is the output for i
    parameters::Cached<std::int32_t> type_;
    parameters::Cached<std::string> customFile_;
    parameters::Cached<std::string> saveFile_;
    parameters::Cached<double> offset_;
    parameters::Cached<double> gain_;
    parameters::Cached<double> gamma_;
    parameters::Cached<std::int32_t> invert_;
    Entry entry_;
    parameters::ReadOnly<std::int32_t> implementation_;
    parameters::ReadOnly<std::uint32_t> inBits_;
    parameters::ReadOnly<std::uint32_t> outBits_;
};

} // namespace qelm::features
