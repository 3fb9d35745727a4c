#pragma once

#include "zantor_obvelline_qx4_rk/error_codes.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <cstdint>

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
