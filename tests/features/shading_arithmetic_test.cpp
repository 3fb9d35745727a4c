// The fast loops of the shading correction against plain ones, on random and on nasty images.

#include "plain_shading.h"

#include "features/shading/shading_planes.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace qelm::test {
namespace {

using namespace features::shading;

using Random = std::mt19937;
using Content = std::function<std::uint32_t(Random& random, std::uint32_t largest)>;

/** An image that owns its samples. */
class TestImage {
  public:
    TestImage(std::int32_t width, std::int32_t height, std::int32_t bits, unsigned seed, const Content& content)
        : image_{nullptr, width, height, bits}
        , samples_(static_cast<std::size_t>(width * height) * (bits == 8 ? 1 : 2)) {
        Random random(seed);
        const std::uint32_t largest = (1U << bits) - 1;
        for (std::size_t i = 0; i < static_cast<std::size_t>(width * height); ++i) {
            const std::uint32_t sample = std::min(content(random, largest), largest);
            std::memcpy(&samples_[i * (bits == 8 ? 1 : 2)], &sample, bits == 8 ? 1 : 2);
        }
        image_.pixels = samples_.empty() ? nullptr : samples_.data();
    }
    operator const ReferenceImage&() const { return image_; }

  private:
    ReferenceImage image_;
    std::vector<unsigned char> samples_;
};

Content constant(std::uint32_t value) {
    return [value](Random&, std::uint32_t) { return value; };
}
Content upTo(double part) {
    return [part](Random& random, std::uint32_t largest) {
        return random() % (static_cast<std::uint32_t>(largest * part) + 1);
    };
}
Content around(double level, double spread) {
    return [=](Random& random, std::uint32_t largest) {
        const double value = std::normal_distribution<double>(level, spread)(random);
        return static_cast<std::uint32_t>(std::clamp(value, 0.0, 1.0) * largest);
    };
}
const Content extremes = [](Random& random, std::uint32_t largest) { return random() % 2 == 0 ? 0 : largest; };
const Content anything = upTo(1.0);
constexpr std::uint32_t all = std::numeric_limits<std::uint32_t>::max();

struct Case {
    const char* name;
    std::int32_t grayWidth, grayHeight, grayBits;
    Content gray;
    std::int32_t blackWidth, blackHeight, blackBits;
    Content black;
};

const Case cases[] = {
    {"camera", 701, 67, 16, around(0.6, 0.1), 701, 67, 16, around(0.02, 0.01)},
    {"camera of 8 bits", 701, 67, 8, around(0.6, 0.1), 701, 67, 8, around(0.02, 0.01)},
    {"anything", 1023, 65, 16, anything, 1023, 65, 16, anything},
    {"8-bit grey", 333, 31, 8, anything, 333, 31, 16, anything},
    {"8-bit black", 333, 31, 16, anything, 333, 31, 8, anything},
    {"black smaller", 129, 33, 16, anything, 64, 17, 16, upTo(0.1)},
    {"black larger", 65, 17, 16, anything, 200, 40, 8, upTo(0.1)},
    {"black wider and lower", 65, 33, 16, anything, 200, 5, 16, upTo(0.1)},
    {"no black", 515, 21, 16, anything, 0, 0, 16, constant(0)},
    {"no grey", 0, 0, 16, constant(0), 515, 21, 16, anything},
    {"no signal", 257, 9, 16, constant(1234), 257, 9, 16, constant(1234)},
    {"no signal across depths", 257, 9, 16, constant(257 * 77), 257, 9, 8, constant(77)},
    {"black brighter", 257, 9, 16, upTo(0.2), 257, 9, 16, around(0.7, 0.2)},
    {"extremes", 257, 9, 16, extremes, 257, 9, 8, extremes},
    {"saturated", 257, 9, 16, constant(all), 257, 9, 16, constant(0)},
    {"tiny signals", 1025, 9, 16, upTo(0.0003), 1025, 9, 16, upTo(0.0001)},
    {"gains on borders between coefficients", 257, 9, 16, constant(8192), 257, 9, 16, constant(0)},
    {"one pixel", 1, 1, 16, constant(40000), 1, 1, 16, constant(300)},
    {"wider than the planes", 8227, 3, 16, anything, 8213, 2, 16, upTo(0.1)},
    {"wider, of 8 bits", 16400, 3, 8, anything, 8192, 3, 8, upTo(0.1)},
    {"higher than the planes", 3, 8195, 16, anything, 2, 8200, 16, upTo(0.1)},
};

class ShadingArithmetic : public testing::Test {
  protected:
#ifdef __SANITIZE_THREAD__
    void SetUp() override {
        GTEST_SKIP() << "plain loops on one thread, for minutes under this sanitizer";
    }
#endif
    static void SetUpTestSuite() {
        expected_ = new Planes;
        actual_ = new Planes;
        expected_->allocate();
        actual_->allocate();
    }
    static void TearDownTestSuite() {
        delete expected_;
        delete actual_;
    }

    static std::vector<InstructionSet> instructionSets() {
        std::vector<InstructionSet> sets{InstructionSet::baseline};
        if (bestInstructionSet() != InstructionSet::baseline) {
            sets.push_back(bestInstructionSet());
        }
        return sets;
    }

    static void compare(const ReferenceImage& gray, const ReferenceImage& black, const CoefficientSettings& settings) {
        plain::computeCoefficients(gray, black, settings, expected_->offsets(), expected_->gains());
        for (const InstructionSet instructions : instructionSets()) {
            SCOPED_TRACE("instruction set " + std::to_string(static_cast<int>(instructions)));
            computeCoefficients(gray, black, settings, actual_->offsets(), actual_->gains(), instructions);
            expectEqual("offsets", expected_->offsets(), actual_->offsets());
            expectEqual("gains", expected_->gains(), actual_->gains());
        }
    }

    static void expectEqual(const char* plane, Plane expected, Plane actual) {
        if (std::memcmp(expected.data(), actual.data(), expected.size_bytes()) == 0) {
            return;
        }
        const auto [e, a] = std::mismatch(expected.begin(), expected.end(), actual.begin());
        const auto position = e - expected.begin();
        ADD_FAILURE() << plane << " at " << position % planeLimit << ", " << position / planeLimit << ": " << *a
                      << " instead of " << *e;
    }

    static inline Planes* expected_ = nullptr;
    static inline Planes* actual_ = nullptr;
};

#ifdef __x86_64__
TEST_F(ShadingArithmetic, UsesTheProcessorsLargestInstructionSetOnEverySystem) {
    EXPECT_EQ(bestInstructionSet() == InstructionSet::avx2, __builtin_cpu_supports("avx2") != 0);
}
#endif

TEST_F(ShadingArithmetic, EveryResultIsThatOfThePlainLoop) {
    unsigned seed = 1;
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        const TestImage gray(one.grayWidth, one.grayHeight, one.grayBits, seed++, one.gray);
        const TestImage black(one.blackWidth, one.blackHeight, one.blackBits, seed++, one.black);
        double target = 1.0;
        if (one.grayWidth > 0) {
            target = plain::largestSignal(gray, black);
            const double mean = plain::meanSignal(gray, black);
            for (const InstructionSet instructions : instructionSets()) {
                EXPECT_EQ(largestSignal(gray, black, instructions), target);
                EXPECT_EQ(meanSignal(gray, black, instructions), mean);
            }
        }
        compare(gray, black, {.target = target});
        if (HasFailure()) {
            return; // further ones would tell the same
        }
    }
}

TEST_F(ShadingArithmetic, MeansOfLargeImagesAddUpInTheirOrder) {
    constexpr std::int32_t width = 4099;
    constexpr std::int32_t height = 600;
    // Bright, dark and bright again: the sum rises through powers of two, falls through them, and rises.
    const auto waves = [count = 0](Random& random, std::uint32_t largest) mutable {
        constexpr int third = width * height / 3;
        const bool isBright = count++ / third % 2 == 0;
        return static_cast<std::uint32_t>(isBright ? largest - random() % (largest / 2) : random() % (largest / 8));
    };
    const struct {
        const char* name;
        Content gray;
        Content black;
        std::int32_t blackHeight;
    } images[] = {
        {"anything", anything, upTo(0.1), height},
        {"camera", around(0.6, 0.1), around(0.02, 0.01), height},
        {"waves", waves, around(0.35, 0.05), height},
        {"no black below", around(0.7, 0.1), around(0.2, 0.1), height / 2},
        {"hardly any signal", around(0.3, 0.3), around(0.31, 0.3), height},
        {"below zero", upTo(0.1), anything, height},
        {"saturated", constant(all), constant(0), height},
        {"even", constant(40000), constant(300), height},
        {"extremes", extremes, upTo(0.3), height},
    };
    unsigned seed = 100;
    for (const auto& one : images) {
        SCOPED_TRACE(one.name);
        const TestImage gray(width, height, 16, seed++, one.gray);
        const TestImage black(width, one.blackHeight, 16, seed++, one.black);
        const double mean = plain::meanSignal(gray, black);
        for (const InstructionSet instructions : instructionSets()) {
            EXPECT_EQ(meanSignal(gray, black, instructions), mean);
        }
    }
}

TEST_F(ShadingArithmetic, SignalsAddUpAsTheyAreNotAsTheirSamplesDiffer) {
    // Signals that a sum of that size rounds otherwise than the quotient of their samples' difference.
    Random random(1);
    for (const int exponent : {11, 12, 13, 15}) {
        SCOPED_TRACE(exponent);
        const double rounder = std::ldexp(1.5, exponent);
        std::uint32_t g = 0;
        std::uint32_t b = 0;
        do {
            g = 32768 + random() % 32768;
            b = random() % 16384;
        } while ((g / 65535.0 - b / 65535.0) + rounder == (static_cast<double>(g - b) / 65535.0) + rounder);
        const std::int32_t height = std::max(1, (6 << exponent) / 4096);
        const TestImage gray(4096, height, 16, 1, constant(g));
        const TestImage black(4096, height, 16, 1, constant(b));
        const double mean = plain::meanSignal(gray, black);
        for (const InstructionSet instructions : instructionSets()) {
            EXPECT_EQ(meanSignal(gray, black, instructions), mean);
        }
    }
}

TEST_F(ShadingArithmetic, AnyTargetAndAnyThresholdGivesThePlainLoopsCoefficients) {
    const TestImage gray(1023, 65, 16, 5, anything);
    const TestImage black(1001, 64, 16, 6, upTo(0.6));
    const TestImage gray8(1023, 65, 8, 7, around(0.95, 0.1));
    const TestImage black8(1001, 64, 8, 8, upTo(0.3));
    for (const double target : {0.0, -0.0, 1e-300, 1e-9, 0.0001, 1.0 / 4096, 0.3, 4094.9 / 4095}) {
        compare(gray, black, {.target = target});
    }
    for (const std::uint32_t threshold : {0U, 1U, 40U, 254U, 255U, 256U, 4095U, 65535U, 4294967295U}) {
        SCOPED_TRACE(threshold);
        compare(gray8, black8, {.defectThreshold = threshold});
        compare(gray8, black, {.defectThreshold = threshold});
        compare(gray, black8, {.defectThreshold = threshold, .target = 1.0});
        compare(gray, black, {.defectThreshold = threshold});
    }
}

TEST_F(ShadingArithmetic, ASignalIsTheQuotientToItsLastBit) {
    for (std::uint32_t sample = 0; sample <= 65535; ++sample) {
        const auto narrow = static_cast<std::uint16_t>(sample);
        ASSERT_EQ(meanSignal({&narrow, 1, 1, 16}, {}), sample / 65535.0) << sample;
    }
    for (std::uint32_t sample = 0; sample <= 255; ++sample) {
        const auto narrow = static_cast<std::uint8_t>(sample);
        ASSERT_EQ(meanSignal({&narrow, 1, 1, 8}, {}), sample / 255.0) << sample;
    }
}

TEST(ShadingPlanes, MissingMemoryIsItsOwnError) {
    Planes planes([](std::size_t) -> void* { return nullptr; });
    EXPECT_THROW(
        {
            try {
                planes.clear();
            } catch (int code) {
                EXPECT_EQ(code, FG_ERROR_OUT_OF_MEMORY);
                throw;
            }
        },
        int);
}

TEST(ShadingFixedPoint, ValuesAreRoundedAndLimited) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    const struct {
        float value, scale;
        std::uint16_t expected;
    } rows[] = {
        {0.0F, 16.0F, 0},        {1.0F, 16.0F, 16},          {0.03124F, 16.0F, 0},     {0.03125F, 16.0F, 1},
        {4095.9F, 16.0F, 65534}, {4096.0F, 16.0F, 65535},    {1e30F, 16.0F, 65535},    {-0.03F, 16.0F, 0},
        {-1.0F, 16.0F, 0},       {-infinite, 16.0F, 0},      {infinite, 16.0F, 65535}, {notANumber, 16.0F, 0},
        {1.0F, 4096.0F, 4096},   {15.9999F, 4096.0F, 65535}, {16.0F, 4096.0F, 65535},  {0.0001F, 4096.0F, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(toFixedPoint(row.value, row.scale), row.expected) << row.value << " times " << row.scale;
    }
}

} // namespace
} // namespace qelm::test
