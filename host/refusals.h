#pragma once

#include "qelm/host/values.h"

#include <optional>
#include <string>

/** Refusals in the terms of what clashes. */
namespace qelm::host {

/** What stands in the way of that value, or of applying: sentences, or "" when the code says it all. */
std::string clash(const Board& board, const Assignment& assignment, std::int32_t code);

/** The reason, where the code's own meaning would lead astray. */
std::optional<Reason> betterReason(const Assignment& assignment, std::int32_t code);

} // namespace qelm::host
