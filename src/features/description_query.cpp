#include "features/description_query.h"

#include "parameters/parameter_kinds.h"

namespace qelm::features {

void DescriptionQuery::get(void* nameThenDescription) {
    const char* description = registry_.description(parameters::load<std::string>(nameThenDescription));
    parameters::require(description != nullptr, FG_ERROR_UNKNOWN);
    parameters::store(std::string(description), nameThenDescription);
}

void DescriptionQuery::set(const void* /*value*/, parameters::OnFailure onFailure) {
    parameters::refuseReadOnly(onFailure);
}

} // namespace qelm::features
