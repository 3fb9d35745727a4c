#include "events/event_table.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace qelm::events {
namespace {

constexpr std::uint32_t lastPosition = 64; // never looked beyond; it counts, although it has no bit any more
constexpr std::uint32_t maskBits = 64;
constexpr std::int32_t published = 1; // the kind of events that go by their design name, too

struct Alias {
    const char* designEvent;
    const char* name;
};
constexpr Alias aliases[] = {
#define EVENT_ALIAS(designEvent, name) {designEvent, name},
#include "events/event_aliases.inc"
};

constexpr std::uint64_t maskAt(std::uint32_t position) {
    return position < maskBits ? std::uint64_t{1} << position : 0;
}

bool isNamed(const DesignEvent* event, const char* name) {
    return event != nullptr && event->name != nullptr && std::strcmp(event->name, name) == 0;
}

/** A copy: the loader may use a record again for the next event. */
struct Event {
    std::optional<std::string> name;
    std::int32_t kind;
};

} // namespace

void EventTable::build(const ReadEvent& readEvent) {
    std::vector<Event> list;
    for (std::uint32_t position = 0; position <= lastPosition; ++position) {
        const DesignEvent* event = readEvent(position);
        if (event == nullptr) {
            break;
        }
        list.push_back({event->name == nullptr ? std::nullopt : std::optional<std::string>(event->name), event->kind});
    }
    const auto publish = [this](std::uint32_t position, const std::string& name) {
        if (const std::uint64_t mask = maskAt(position)) {
            maskByName_[name] = mask;
            nameByMask_[mask] = name;
        }
    };
    for (std::uint32_t position = 0; position < list.size(); ++position) {
        if (list[position].kind == published && list[position].name) {
            publish(position, *list[position].name);
        }
    }
    for (const Alias& alias : aliases) {
        const auto found = std::ranges::find(list, alias.designEvent, &Event::name);
        if (found != list.end()) {
            publish(static_cast<std::uint32_t>(found - list.begin()), alias.name);
        }
    }
}

std::uint64_t EventTable::mask(std::string_view name) const {
    const auto entry = maskByName_.find(name);
    return entry == maskByName_.end() ? 0 : entry->second;
}

const char* EventTable::name(std::uint64_t mask) const {
    const auto entry = nameByMask_.find(mask);
    return entry == nameByMask_.end() ? nullptr : entry->second.c_str();
}

std::uint64_t designEventMask(const ReadEvent& readEvent, const char* name) {
    for (std::uint32_t position = 0; name != nullptr && position < maskBits; ++position) {
        if (isNamed(readEvent(position), name)) {
            return maskAt(position);
        }
    }
    return 0;
}

const char* designEventName(const ReadEvent& readEvent, std::uint64_t mask) {
    for (std::uint32_t position = 0; position < maskBits; ++position) {
        const DesignEvent* event = maskAt(position) == mask ? readEvent(position) : nullptr;
        if (event != nullptr) {
            return event->name;
        }
    }
    return nullptr;
}

} // namespace qelm::events
