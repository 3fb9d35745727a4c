#pragma once

namespace qelm::platform {

/**
 * Sets the C library's locale to "English" for all categories, or to "C" on a system without one of that name: the
 * decimal point is a point in both.
 */
void useEnglishLocale();

} // namespace qelm::platform
