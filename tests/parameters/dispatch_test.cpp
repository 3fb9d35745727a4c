// Parameters register themselves; values cross from the caller's memory into types and back.

#include "parameters/dispatch.h"

#include "parameters/parameter_kinds.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <limits>
#include <map>
#include <stdexcept>

namespace qelm::test {
namespace {

using namespace parameters;

template <typename T>
constexpr RowOf<T> row(std::int32_t id, ValueType type, double initial = 0.0) {
    return {
        {.name = "", .id = id, .description = "", .type = type, .use = Use::settable, .access = 7, .initial = initial}};
}
constexpr auto numberRow = row<std::uint32_t>(1, ValueType::unsigned32, 5);
constexpr auto integerRow = row<std::int32_t>(2, ValueType::signed32, -5);
constexpr auto realRow = row<double>(3, ValueType::float64);
constexpr auto textRow = row<std::string>(4, ValueType::text);

class DispatchTest : public testing::Test {
  protected:
    /** A get into memory of odd alignment, which must not be touched beyond the value. */
    template <typename T>
    T get(std::int32_t id) {
        std::array<char, sizeof(T) + 2> memory;
        memory.fill('#');
        EXPECT_EQ(dispatch_.get(id, &memory[1], 0), 0);
        EXPECT_EQ(memory.front(), '#');
        EXPECT_EQ(memory.back(), '#');
        T value;
        std::memcpy(&value, &memory[1], sizeof value);
        return value;
    }
    template <typename T>
    std::int32_t set(std::int32_t id, T value) {
        std::array<char, sizeof(T) + 1> memory{};
        std::memcpy(&memory[1], &value, sizeof value);
        return dispatch_.set(id, &memory[1], 0);
    }

    DesignAccess design_;
    Dispatch dispatch_{design_};
};

TEST_F(DispatchTest, ASecondParameterOfAnIdentifierIsNoticed) {
    const ReadOnly<std::uint32_t> first(dispatch_, numberRow, [] { return 11U; });
    using Second = Cached<std::uint32_t>;
    EXPECT_THROW(Second(dispatch_, numberRow, {}), std::logic_error);
    EXPECT_EQ(get<std::uint32_t>(1), 11U) << "the first one goes on answering";
}

TEST_F(DispatchTest, ValuesHaveTheParametersType) {
    const Cached<std::uint32_t> number(dispatch_, numberRow, {});
    const Cached<std::int32_t> integer(dispatch_, integerRow, {});
    const Cached<double> real(dispatch_, realRow, {});
    const Cached<std::string> text(dispatch_, textRow, {});
    EXPECT_EQ(number.value(), 5U);
    EXPECT_EQ(integer.value(), -5);
    EXPECT_EQ(set(1, 0xFFFFFFFFU), 0);
    EXPECT_EQ(set(2, std::int32_t{-7}), 0);
    EXPECT_EQ(set(3, 0.5), 0);
    EXPECT_EQ(dispatch_.set(4, "four", 0), 0);
    EXPECT_EQ(number.value(), 0xFFFFFFFFU);
    EXPECT_EQ(integer.value(), -7);
    EXPECT_EQ(real.value(), 0.5);
    EXPECT_EQ(text.value(), "four");
    EXPECT_EQ(get<std::uint32_t>(1), 0xFFFFFFFFU);
    EXPECT_EQ(get<std::int32_t>(2), -7);
    EXPECT_EQ(get<double>(3), 0.5);
    EXPECT_THAT((get<std::array<char, 5>>(4)), testing::ElementsAre('f', 'o', 'u', 'r', '\0'));
}

// A configuration file holds integers signed.
TEST_F(DispatchTest, IntegersOfEitherSignStandForEachOther) {
    Cached<std::uint32_t> number(dispatch_, numberRow, {});
    Cached<std::int32_t> integer(dispatch_, integerRow, {});
    dispatch_.at(1).store(std::int32_t{-1});
    dispatch_.at(2).set(std::uint32_t{0xFFFFFFFE});
    EXPECT_EQ(number.value(), 0xFFFFFFFFU);
    EXPECT_EQ(integer.value(), -2);
    EXPECT_EQ(valueAs<std::int32_t>(dispatch_.at(1).get({})), -1);
}

TEST_F(DispatchTest, TheRowIsCheckedAroundTheFeature) {
    static constexpr RowOf<std::uint32_t> limited{{.name = "",
                                                   .id = 1,
                                                   .description = "",
                                                   .type = ValueType::unsigned32,
                                                   .use = Use::settable,
                                                   .access = 7,
                                                   .minimum = 10,
                                                   .maximum = 40,
                                                   .step = 10,
                                                   .initial = 20}};
    static constexpr Enumerator entries[] = {{"One", 1, "ONE"}, {"Minus one", -1, "MINUS_ONE"}};
    static constexpr Enumeration enumeration{entries};
    static constexpr RowOf<std::int32_t> enumerated{{.name = "",
                                                     .id = 2,
                                                     .description = "",
                                                     .type = ValueType::signed32,
                                                     .use = Use::settable,
                                                     .access = 7,
                                                     .enumeration = &enumeration,
                                                     .initial = 1}};
    static constexpr RowOf<double> moving{{.name = "",
                                           .id = 3,
                                           .description = "",
                                           .type = ValueType::float64,
                                           .use = Use::settable,
                                           .access = 7,
                                           .minimum = 0.5,
                                           .maximum = 2.0,
                                           .step = 0.5,
                                           .moving = Moving::minimum}};
    bool permitted = false;
    Cached<std::uint32_t> number(dispatch_, limited,
                                 {.permit = [&permitted] { require(permitted, -1); },
                                  .check = [](std::uint32_t value) { require(value != 25, -2); }});
    Cached<std::int32_t> choice(dispatch_, enumerated, {});
    Cached<double> real(dispatch_, moving, {});
    EXPECT_EQ(set(1, 99U), -1) << "whatever the value";
    permitted = true;
    for (const auto& [value, code] : std::map<std::uint32_t, std::int32_t>{{9, FG_ERROR_OUT_OF_RANGE},
                                                                           {41, FG_ERROR_OUT_OF_RANGE},
                                                                           {25, -2}, // before its step is looked at
                                                                           {35, FG_ERROR_ALIGNMENT}}) {
        EXPECT_EQ(set(1, value), code) << value;
        EXPECT_EQ(number.value(), 20U);
    }
    EXPECT_EQ(set(1, 40U), 0);
    EXPECT_EQ(set(2, 0), FG_ERROR_OUT_OF_RANGE);
    EXPECT_EQ(set(2, -1), 0);
    EXPECT_EQ(set(3, 0.3), 0) << "the minimum is the feature's to check, and nobody rounds";
    for (const double value : {2.1, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(set(3, value), FG_ERROR_OUT_OF_RANGE) << value;
    }
}

TEST_F(DispatchTest, AFailedWriteBringsTheOldValueBackAndItsCodeOut) {
    bool settled = false;
    Cached<std::uint32_t> number(dispatch_, numberRow,
                                 {.check = [](std::uint32_t value) { require(value != 6, FG_ERROR_OUT_OF_RANGE); },
                                  .apply =
                                      [](std::uint32_t value, std::uint32_t previous) {
                                          EXPECT_EQ(previous, 5U);
                                          require(value != 7, -7);
                                      },
                                  .settled = [&settled] { settled = true; }});
    EXPECT_EQ(set(1, 6U), FG_ERROR_OUT_OF_RANGE);
    EXPECT_EQ(set(1, 7U), -7);
    EXPECT_EQ(number.value(), 5U);
    EXPECT_FALSE(settled);
    EXPECT_EQ(set(1, 8U), 0);
    EXPECT_EQ(number.value(), 8U);
    EXPECT_TRUE(settled);
}

TEST_F(DispatchTest, WhatIsUnknownOrReadOnlyIsRefused) {
    const ReadOnly<std::uint32_t> status(dispatch_, numberRow, [] { return 11U; });
    dispatch_.addAnsweredByRuntime(2);
    std::uint32_t value = 3;
    EXPECT_EQ(dispatch_.set(1, &value, 0), FG_ERROR_NOT_AVAILABLE);
    EXPECT_EQ(dispatch_.set(2, &value, 0), FG_ERROR_NOT_AVAILABLE);
    EXPECT_EQ(dispatch_.set(9, &value, 0), FG_ERROR_UNKNOWN);
    EXPECT_EQ(dispatch_.get(9, &value, 0), FG_ERROR_UNKNOWN);
    EXPECT_EQ(dispatch_.get(1, &value, 1), FG_ERROR_UNKNOWN) << "only port 0 has parameters";
    EXPECT_EQ(value, 3U);
}

} // namespace
} // namespace qelm::test
