#pragma once

#include "output.h"
#include "session.h"

#include <cstdint>
#include <map>
#include <string>

namespace qelm::tool {

/** Counts what went wrong while triggers and frames came: lost triggers, missing frames, overflow. */
class Losses {
  public:
    explicit Losses(const Session& session);

    /** Takes in an event, by its design's name. @return what it tells of, "lost triggers"; null: no loss */
    const char* add(const std::string& designName);
    /** Takes in the events recorded since the last call, and forgets them: call it now and then in long runs. */
    void collect();
    /** Warns of what there was. */
    void warn() const;
    Json json() const;

  private:
    const Session& session_;
    std::map<std::string, std::uint64_t> counts_; // by key in JSON
};

} // namespace qelm::tool
