#pragma once

#include "zantor_obvelline_qx4_rk/error_codes.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace qelm::parameters {

/** What a refused or failing set does after the roll-back: raise its code, or keep still (initial settings, load). */
enum class OnFailure { raise, swallow };

/** How the untyped value pointer of a get or set is read. */
enum class ValueType : std::uint8_t {
    unsigned32,
    signed32,
    float64,
    text,     ///< zero-terminated characters
    lutEntry, ///< a LutEntry
};

/** Refuses a value with the given code unless the condition holds. */
inline void require(bool condition, int code) {
    if (!condition) {
        throw code;
    }
}

/** Value pointers come from callers in any alignment, so values are copied, never dereferenced. */
template <typename T>
T load(const void* value) {
    if constexpr (std::is_same_v<T, std::string>) {
        return static_cast<const char*>(value);
    } else {
        T result;
        std::memcpy(&result, value, sizeof result);
        return result;
    }
}

/** A text is copied with its terminating zero; the room for it is the caller's care. */
template <typename T>
void store(const T& value, void* place) {
    if constexpr (std::is_same_v<T, std::string>) {
        std::memcpy(place, value.c_str(), value.size() + 1);
    } else {
        std::memcpy(place, &value, sizeof value);
    }
}

/**
 * One parameter as the dispatcher, the initial settings and the configuration see it. Failures are thrown as plain
 * integers that carry the error code.
 */
class Parameter {
  public:
    Parameter(std::int32_t id, ValueType type) : id_(id), type_(type) {}
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;
    virtual ~Parameter() = default;

    std::int32_t id() const { return id_; }
    ValueType type() const { return type_; }

    /** Copies the value to the place given, in the parameter's type. */
    virtual void get(void* value) = 0;
    /** Checks the value, applies it and keeps it; a failure leaves the kept value as it was. */
    virtual void set(const void* value, OnFailure onFailure) = 0;
    /** Keeps the value without a check and without a design write: the raw pass of a configuration load. */
    virtual void assign(const void* value) = 0;

  private:
    std::int32_t id_;
    ValueType type_;
};

} // namespace qelm::parameters
