#pragma once

#include "verbs.h"

#include "qelm/host/values.h"

#include <optional>
#include <string>
#include <vector>

namespace qelm::tool {

/** The applet that the options name. */
host::Applet loadApplet(const CommonOptions& options);

/** A board with the applet running on it, and the parameters that it registers. */
class Session {
  public:
    explicit Session(const host::Applet& applet) : board_(applet), parameters_(host::registeredParameters(board_)) {}

    host::Board& board() { return board_; }
    const host::Board& board() const { return board_; }
    const std::vector<host::Parameter>& parameters() const { return parameters_; }

    /** The value, or nothing when the applet does not give it. */
    std::optional<host::Value> read(const host::Reference& reference) const;
    /** As read, and nothing for a table, which has no one value. */
    std::optional<host::Value> readWhole(const host::Parameter& parameter) const;

  private:
    host::Board board_;
    std::vector<host::Parameter> parameters_;
};

} // namespace qelm::tool
