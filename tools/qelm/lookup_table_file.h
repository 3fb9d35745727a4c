#pragma once

#include "session.h"

#include <string>

namespace qelm::tool {

/**
 * What the table file in force leaves out, as a sentence; empty when nothing, or when none is in force. The applet
 * takes any file: entries without a line are 0, or what another line says, and those that it does not count stay as
 * they were.
 */
std::string lookupTableGap(const Session& session);

/** Warns of it, after a setting that may have loaded the file. */
void warnOfLookupTable(const Session& session, const host::Parameter& changed);

} // namespace qelm::tool
