#pragma once

#include "parameters/design_access.h"
#include "parameters/parameter.h"
#include "parameters/rows.h"

#include <functional>
#include <string>
#include <type_traits>
#include <utility>

namespace qelm::parameters {

/** Refuses what the row does not allow. Written so that a double that is not a number is out of range. */
template <typename T>
void requireInRange(const Row& row, const T& value) {
    if constexpr (std::is_integral_v<T>) {
        if (row.enumeration != nullptr) {
            require(row.enumeration->find(static_cast<std::int32_t>(value)) != nullptr, FG_ERROR_OUT_OF_RANGE);
        }
    }
    if constexpr (std::is_arithmetic_v<T>) {
        if (row.hasLimits()) {
            require(row.moving == Moving::minimum || value >= row.minimum, FG_ERROR_OUT_OF_RANGE);
            require(row.moving == Moving::maximum || value <= row.maximum, FG_ERROR_OUT_OF_RANGE);
        }
    }
}

/** Refuses an integer between two steps; other numbers are rounded by whoever writes them. */
template <typename T>
void requireStep(const Row& row, const T& value) {
    if constexpr (std::is_integral_v<T>) {
        require(row.step <= 1.0 || value % static_cast<T>(row.step) == 0, FG_ERROR_ALIGNMENT);
    }
}

/**
 * The shape of every settable parameter: check the value, cache it, write the design, update dependants; when a
 * write fails the old value comes back. Design writes already made stay.
 *
 * The row says what the parameter begins with, and which values there are. The rules say what is special about it. A
 * value that is no multiple of the step is refused last: one that does not fit is out of range before it is that.
 */
template <typename T>
class Cached final : public Parameter {
  public:
    struct Rules {
        std::function<void()> permit{};              ///< throws when no value may be set now; asked first
        std::function<void(const T& value)> check{}; ///< refuses a value in range; nothing has changed then
        std::function<void(const T& value, const T& previous)> apply{}; ///< writes the design; the value is cached
        std::function<void()> settled{};                                ///< updates dependants, after every write
        std::function<T()> read{}; ///< what a get answers; without it the cached value
    };

    Cached(Dispatch& dispatch, const RowOf<T>& row, Rules rules)
        : Parameter(dispatch, row.id, row.type)
        , row_(row)
        , rules_(std::move(rules)) {
        if constexpr (std::is_arithmetic_v<T>) {
            value_ = static_cast<T>(row.initial);
        }
    }

    const T& value() const { return value_; }

    void set(T value) {
        if (rules_.permit) {
            rules_.permit();
        }
        requireInRange(row_, value);
        if (rules_.check) {
            rules_.check(value);
        }
        requireStep(row_, value);
        std::swap(value_, value); // `value` is now the previous one
        if (rules_.apply) {
            try {
                rules_.apply(value_, value);
            } catch (...) {
                value_ = std::move(value);
                throw;
            }
        }
        if (rules_.settled) {
            rules_.settled();
        }
    }
    void store(T value) { value_ = std::move(value); }

    Value get(const Value& /*request*/) override { return rules_.read ? rules_.read() : value_; }
    void set(const Value& value) override { set(valueAs<T>(value)); }
    void store(const Value& value) override { store(valueAs<T>(value)); }
    Value cached() override { return value_; }

  private:
    const Row& row_;
    T value_{};
    Rules rules_;
};

/** A parameter that cannot be set and whose value is found out on each get: status, statistics, constants. */
template <typename T>
class ReadOnly final : public Parameter {
  public:
    ReadOnly(Dispatch& dispatch, const RowOf<T>& row, std::function<T()> read)
        : Parameter(dispatch, row.id, row.type)
        , read_(std::move(read)) {}

    Value get(const Value& /*request*/) override { return read_(); }
    void set(const Value& /*value*/) override { throw FG_ERROR_NOT_AVAILABLE; }
    void store(const Value& /*value*/) override {}

  private:
    std::function<T()> read_;
};

/** Rule: calls a member function of the feature with as many of the rule's arguments as it takes. */
template <typename Feature, typename Result, typename... Arguments>
auto calls(Feature* feature, Result (Feature::*function)(Arguments...)) {
    return [feature, function](Arguments... arguments, const auto&...) { return (feature->*function)(arguments...); };
}
template <typename Feature, typename Result, typename... Arguments>
auto calls(const Feature* feature, Result (Feature::*function)(Arguments...) const) {
    return [feature, function](Arguments... arguments, const auto&...) { return (feature->*function)(arguments...); };
}

/** Apply: the value goes into one design parameter, or one register, as it is. */
template <typename Target>
auto writesTo(DesignAccess& design, Target target) {
    return [&design, target](const auto& value, const auto& /*previous*/) {
        design.write(target, static_cast<std::uint32_t>(value));
    };
}

/** Read: what a design parameter holds. */
inline auto reads(const DesignAccess& design, DesignParameter parameter) {
    return [&design, parameter] { return design.read(parameter); };
}

} // namespace qelm::parameters
