#pragma once

#include "parameters/design_access.h"
#include "parameters/enumerations.h"
#include "parameters/parameter.h"

#include <cstring>
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

/** Runs an action; a code that it throws is passed on or dropped as the flag says. */
template <typename Action>
void attempt(OnFailure onFailure, Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (int) {
        if (onFailure == OnFailure::raise) {
            throw;
        }
    }
}

/** What a set of a read-only parameter comes to. */
inline void refuseReadOnly(OnFailure onFailure) {
    if (onFailure == OnFailure::raise) {
        throw static_cast<int>(FG_ERROR_NOT_AVAILABLE);
    }
}

/**
 * The shape of every settable parameter: check the value, remember it, write the design, update dependants; when a
 * write fails the old value comes back. Design writes already made stay.
 */
template <typename T>
class Remembered final : public Parameter {
  public:
    struct Rules {
        std::function<void(const T& value)> check{}; ///< throws the refusal; nothing has changed then
        std::function<void(const T& value, const T& previous)> apply{}; ///< writes the design; the value is remembered
        std::function<void()> settled{};                                ///< updates dependants, after every write
        std::function<T()> read{}; ///< what a get answers; without it the remembered value
    };

    Remembered(std::int32_t id, T initial, Rules rules)
        : Parameter(id, valueTypeOf<T>())
        , value_(std::move(initial))
        , rules_(std::move(rules)) {}

    const T& value() const { return value_; }

    void change(T value, OnFailure onFailure = OnFailure::raise) {
        attempt(onFailure, [&] {
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
        });
    }

    /** Keeps a value without check or write. */
    void keep(T value) { value_ = std::move(value); }

    void get(void* value) override { store(rules_.read ? rules_.read() : value_, value); }
    void set(const void* value, OnFailure onFailure) override { change(load<T>(value), onFailure); }
    void assign(const void* value) override { keep(load<T>(value)); }

  private:
    T value_;
    Rules rules_;
};

/** A parameter that cannot be set and whose value is found out on each get: status, statistics, constants. */
template <typename T>
class ReadOnly final : public Parameter {
  public:
    ReadOnly(std::int32_t id, std::function<T()> read) : Parameter(id, valueTypeOf<T>()), read_(std::move(read)) {}

    T value() const { return read_(); }

    void get(void* value) override { store(read_(), value); }
    void set(const void* /*value*/, OnFailure onFailure) override { refuseReadOnly(onFailure); }
    void assign(const void* /*value*/) override {}

  private:
    std::function<T()> read_;
};

/** Apply: the value goes into one design parameter, or one register, as it is. */
template <typename Target>
auto writesTo(DesignAccess& design, Target target) {
    return [&design, target](const auto& value, const auto& /*previous*/) {
        design.write(target, static_cast<std::uint32_t>(value));
    };
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
