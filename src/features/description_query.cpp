#include "features/description_query.h"

namespace qelm::features {

parameters::Value DescriptionQuery::get(const parameters::Value& request) {
    const char* description = registry_.description(std::get<std::string>(request));
    parameters::require(description != nullptr, FG_ERROR_UNKNOWN);
    return description;
}

void DescriptionQuery::set(const parameters::Value& /*value*/) {
    throw FG_ERROR_NOT_AVAILABLE;
}

} // namespace qelm::features
