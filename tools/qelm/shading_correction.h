#pragma once

#include "calibration.h"
#include "session.h"

#include <filesystem>
#include <string>

namespace qelm::tool {

/** Switches the corrections of offsets and gains, and, where they are to be on, the replacement of dead pixels. */
void switchCorrection(Session& session, bool on, bool deadPixels);

/**
 * Writes a reference as a TIFF file, whole or not at all.
 *
 * @param average what it was made of @param description becomes the file's @throws FileError
 */
void writeReference(const std::filesystem::path& file, const Reference& reference, const Average& average,
                    const std::string& description);

} // namespace qelm::tool
