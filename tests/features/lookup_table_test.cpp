// The processor's table against its formula.

#include "features/lookup_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qelm::test {
namespace {

using namespace features;

std::uint32_t plainEntry(const ProcessorSettings& settings, int i) {
    const double x = (i / 4095.0 + settings.offset) * settings.gain;
    std::int64_t entry = 0;
    if (!(x < 0)) {
        const double value = std::pow(x, 1.0 / settings.gamma) * 4095.0 + 0.5;
        const bool fits = value > -2147483649.0 && value < 2147483648.0;
        entry = fits ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int32_t>::min();
    }
    if (settings.invert) {
        entry = static_cast<std::int32_t>(4096 - entry - 1); // 32 bits, wrapping around
    }
    return static_cast<std::uint32_t>(entry < 0 ? 0 : entry > 4095 ? 4095 : entry);
}

TEST(ProcessorTable, EveryEntryIsThatOfTheFormula) {
    const double infinite = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    std::array<std::uint32_t, 4096> table{};
    for (const double offset : {0.0, -1.0, 1.0, -0.25, 0.1, infinite, notANumber}) {
        for (const double gain : {1.0, 0.0, 4096.0, 0.7, -1.0, 1e300, notANumber}) {
            for (const double gamma : {1.0, 0.0, -0.0, -1.0, 2.2, 0.45, 1000.0, -1000.0, 1e-6, infinite, notANumber}) {
                for (const bool invert : {false, true}) {
                    const ProcessorSettings settings{offset, gain, gamma, invert};
                    computeProcessorTable(settings, table);
                    for (int i = 0; i < 4096; ++i) {
                        ASSERT_EQ(table[static_cast<std::size_t>(i)], plainEntry(settings, i))
                            << "entry " << i << ", offset " << offset << ", gain " << gain << ", gamma " << gamma
                            << (invert ? ", inverted" : "");
                    }
                }
            }
        }
    }
}

} // namespace
} // namespace qelm::test
