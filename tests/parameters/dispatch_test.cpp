// Parameters register themselves; values cross from the caller's memory into types and back.

#include "parameters/dispatch.h"

#include "parameters/parameter_kinds.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <stdexcept>

namespace qelm::test {
namespace {

using namespace parameters;

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
    const ReadOnly<std::uint32_t> first(dispatch_, 1, [] { return 11U; });
    using Second = Cached<double>;
    EXPECT_THROW(Second(dispatch_, 1, 0.0, {}), std::logic_error);
    EXPECT_EQ(get<std::uint32_t>(1), 11U) << "the first one goes on answering";
}

TEST_F(DispatchTest, ValuesHaveTheParametersType) {
    const Cached<std::uint32_t> number(dispatch_, 1, 0, {});
    const Cached<std::int32_t> integer(dispatch_, 2, 0, {});
    const Cached<double> real(dispatch_, 3, 0.0, {});
    const Cached<std::string> text(dispatch_, 4, "", {});
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
    Cached<std::uint32_t> number(dispatch_, 1, 0, {});
    Cached<std::int32_t> integer(dispatch_, 2, 0, {});
    dispatch_.at(1).store(std::int32_t{-1});
    dispatch_.at(2).set(std::uint32_t{0xFFFFFFFE});
    EXPECT_EQ(number.value(), 0xFFFFFFFFU);
    EXPECT_EQ(integer.value(), -2);
    EXPECT_EQ(valueAs<std::int32_t>(dispatch_.at(1).get({})), -1);
}

TEST_F(DispatchTest, AFailedWriteBringsTheOldValueBackAndItsCodeOut) {
    bool settled = false;
    Cached<std::uint32_t> number(dispatch_, 1, 5,
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
    const ReadOnly<std::uint32_t> status(dispatch_, 1, [] { return 11U; });
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
