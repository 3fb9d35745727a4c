#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qelm::host {

/** @return the name of an error code ("FG_ERROR_OUT_OF_RANGE"); empty for a code that error_codes.h does not know */
std::string_view errorName(std::int32_t code);
/** @return what the code means, with its number and name: "the value is out of range ... (-6000, FG_ERROR_...)" */
std::string errorMeaning(std::int32_t code);

/** Why a call was refused, where that is known better than the code tells it. */
struct Reason {
    std::string sentence; ///< without a full stop
};

/** The applet refused a call. The text is a whole sentence: what was tried, why it was refused, what is allowed. */
class AppletError : public std::runtime_error {
  public:
    /** @param attempt what was tried, e.g. "FG_WIDTH = 8 was refused"; @param advice sentences to end with, or "" */
    AppletError(std::int32_t code, const std::string& attempt, const std::string& advice = {});
    AppletError(std::int32_t code, const std::string& attempt, const Reason& reason);
    std::int32_t code() const { return code_; }

  private:
    std::int32_t code_;
};

} // namespace qelm::host
