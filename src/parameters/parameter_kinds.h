#pragma once

#include "parameters/design_access.h"
#include "parameters/parameter.h"
#include "parameters/rows.h"

#include <functional>
#include <string>
#include <type_traits>
#include <utility>

namespace qelm::parameters {

template <typename T>
constexpr ValueType valueTypeOf() {
    if constexpr (std::is_same_v<T, std::uint32_t>) {
        return ValueType::unsigned32;
    } else if constexpr (std::is_same_v<T, std::int32_t>) {
        return ValueType::signed32;
    } else if constexpr (std::is_same_v<T, double>) {
        return ValueType::float64;
    } else {
        static_assert(std::is_same_v<T, std::string>);
        return ValueType::text;
    }
}

/**
 * The shape of every settable parameter: check the value, cache it, write the design, update dependants; when a
 * write fails the old value comes back. Design writes already made stay.
 */
template <typename T>
class Cached final : public Parameter {
  public:
    struct Rules {
        std::function<void(const T& value)> check{}; ///< throws the refusal; nothing has changed then
        std::function<void(const T& value, const T& previous)> apply{}; ///< writes the design; the value is cached
        std::function<void()> settled{};                                ///< updates dependants, after every write
        std::function<T()> read{}; ///< what a get answers; without it the cached value
    };

    Cached(Dispatch& dispatch, std::int32_t id, T initial, Rules rules)
        : Parameter(dispatch, id, valueTypeOf<T>())
        , value_(std::move(initial))
        , rules_(std::move(rules)) {}

    const T& value() const { return value_; }

    void set(T value) {
        if (rules_.check) {
            rules_.check(value);
        }
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
    T value_;
    Rules rules_;
};

/** A parameter that cannot be set and whose value is found out on each get: status, statistics, constants. */
template <typename T>
class ReadOnly final : public Parameter {
  public:
    ReadOnly(Dispatch& dispatch, std::int32_t id, std::function<T()> read)
        : Parameter(dispatch, id, valueTypeOf<T>())
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

/** Check: minimum <= value <= maximum. Written so that a double that is not a number is out of range. */
template <typename T>
auto inRange(T minimum, T maximum) {
    return [=](const T& value) { require(value >= minimum && value <= maximum, FG_ERROR_OUT_OF_RANGE); };
}

/** Check: the value is one of the enumeration's. */
template <typename T>
auto oneOf(const Enumeration& enumeration) {
    return [&enumeration](const T& value) {
        require(enumeration.find(static_cast<std::int32_t>(value)) != nullptr, FG_ERROR_OUT_OF_RANGE);
    };
}

} // namespace qelm::parameters
