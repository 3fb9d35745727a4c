#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "vendor/nuvrod.h"

/**
 * The design's events and the bits by which an application waits for them: the event at position i of the design's
 * list has bit i.
 */
namespace qelm::events {

/** The design's event at a position, null past the end of the list. */
using ReadEvent = std::function<const DesignEvent*(std::uint32_t position)>;

/** The design's events by name and by mask, with the frame grabber's own names for those that it knows. */
class EventTable {
  public:
    /** Fills the table, once. */
    void build(const ReadEvent& readEvent);

    /** @return the mask of an event, by its published design name or its frame-grabber name; 0 when unknown */
    std::uint64_t mask(std::string_view name) const;
    /** @return the name of the event with this mask, as long as the table lives; null when unknown */
    const char* name(std::uint64_t mask) const;

  private:
    std::map<std::string, std::uint64_t, std::less<>> maskByName_;
    std::map<std::uint64_t, std::string> nameByMask_;
};

/* The same questions asked of the design alone, whatever the events' kinds. */

/** @return 0 when the design has no such event */
std::uint64_t designEventMask(const ReadEvent& readEvent, const char* name);
/** @return null when the design has no such event */
const char* designEventName(const ReadEvent& readEvent, std::uint64_t mask);

} // namespace qelm::events
