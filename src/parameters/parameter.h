#pragma once

#include "parameters/row.h"
#include "zantor_obvelline_qx4_rk/applet.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace qelm::parameters {

class Dispatch;

/** What parameters take and give. */
using Value = std::variant<std::uint32_t, std::int32_t, double, std::string, LutEntry>;

/** Refuses a value with the given code unless the condition holds. */
inline void require(bool condition, std::int32_t code) {
    if (!condition) {
        throw code;
    }
}

/** Runs an action and drops the code that it throws: what was refused or failed keeps its value. */
template <typename Action>
void skipRefusal(Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (std::int32_t) { // NOLINT(bugprone-empty-catch): the caller wants it so
    }
}

/** The value in a parameter's own type; 32-bit integers are taken for each other, bit by bit. */
template <typename T>
T valueAs(const Value& value) {
    if constexpr (std::is_integral_v<T>) {
        using OtherSign = std::conditional_t<std::is_signed_v<T>, std::uint32_t, std::int32_t>;
        if (const auto* number = std::get_if<OtherSign>(&value)) {
            return static_cast<T>(*number);
        }
    }
    return std::get<T>(value);
}

/** What a number begins with. */
inline Value initialValue(const Row& row) {
    switch (row.type) {
    case ValueType::unsigned32:
        return static_cast<std::uint32_t>(row.initial);
    case ValueType::signed32:
        return static_cast<std::int32_t>(row.initial);
    default:
        return row.initial;
    }
}

/**
 * One parameter as the dispatch, the initial settings and the configuration see it. It answers for its identifier as
 * soon as it exists. Failures are thrown as plain integers that carry the error code.
 */
class Parameter {
  public:
    /** Registers itself; its owner keeps it alive as long as the dispatch is asked. */
    Parameter(Dispatch& dispatch, std::int32_t id, ValueType type);
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;
    virtual ~Parameter() = default;

    std::int32_t id() const { return id_; }
    ValueType type() const { return type_; }

    /** @param request what a parameter with several answers is asked for; the others do not look at it */
    virtual Value get(const Value& request) = 0;
    /** The value set last, also where get asks the design. */
    virtual Value cached() { return get({}); }
    /** Checks the value, caches it and writes the design; a failure leaves the cached value as it was. */
    virtual void set(const Value& value) = 0;
    /** Caches the value without a check and without a design write: the first pass of a configuration load. */
    virtual void store(const Value& value) = 0;

  private:
    std::int32_t id_;
    ValueType type_;
};

} // namespace qelm::parameters
