#pragma once

#include "parameters/parameter.h"
#include "parameters/registry.h"

namespace qelm::features {

/**
 * Not a parameter of the registry: a get takes a parameter name from the caller's buffer and puts the parameter's
 * description in its place. The caller's buffer must have room for the longest description.
 */
class DescriptionQuery final : public parameters::Parameter {
  public:
    static constexpr std::int32_t identifier = 24114;

    DescriptionQuery(parameters::Dispatch& dispatch, const parameters::Registry& registry)
        : Parameter(dispatch, identifier, parameters::ValueType::description)
        , registry_(registry) {}

    /** @param request the parameter's name */
    parameters::Value get(const parameters::Value& request) override;
    void set(const parameters::Value& value) override;
    void store(const parameters::Value& /*value*/) override {}

  private:
    const parameters::Registry& registry_;
};

} // namespace qelm::features
