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

    explicit DescriptionQuery(const parameters::Registry& registry)
        : Parameter(identifier, parameters::ValueType::text)
        , registry_(registry) {}

    void get(void* nameThenDescription) override;
    void set(const void* value, parameters::OnFailure onFailure) override;
    void assign(const void* /*value*/) override {}

  private:
    const parameters::Registry& registry_;
};

} // namespace qelm::features
