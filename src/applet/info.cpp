// Info: static facts about the applet, answered without a board.

#include "applet/identity.h"
#include "applet/resources.h"
#include "applet/runtime_binding.h"
#include "parameters/rows.h"
#include "zantor_obvelline_qx4_rk/applet.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

namespace {

using namespace qelm;

/** Requests; the groups are those of the runtime. */
enum Request : std::int32_t {
    icon = 0x411,
    designImage = 0x412,
    uid = 0x413,
    emptyText = 0x414,
    clearedValue = 0x900,
    description = 0x1000,
    group = 0x1010,
    tags = 0x1020,
    lastBoard = 0x1030,
    lastDesignImage = 0x1040,
    name = 0x1050,
    version = 0x1060,
    build = 0x1070,
    namedConstant = 0x1100,
};

/** Requests whose whole answer is a number, which may depend on an index being 0. */
struct Fact {
    std::int32_t request;
    std::int32_t answer;
    int indices = 0; ///< how many of the two indices must be 0
};
constexpr Fact facts[] = {
    {0x350, 0},       {0x410, 0},     {0x415, 1},
    {0x700, 1},       {0x750, 1},     {0x760, 1},
    {0x800, 0x20004}, {0x870, 0},     {0x880, applet::identity::designNumber},
    {0x890, 0},       {0xA00, 0},     {0xB00, 1},
    {0xC00, 1},       {0xD00, 0},     {0x1200, 1},
    {0x1210, 1, 1},   {0x1220, 1, 1}, {0x1230, 0, 2},
    {0x1240, 0, 2},   {0x1250, 1, 1}, {0x1260, 9, 1},
};

struct Text {
    std::int32_t request;
    const char* text;
};
constexpr Text texts[] = {
    {uid, applet::identity::uid},     {emptyText, ""},
    {group, applet::identity::group}, {description, applet::identity::description},
    {tags, applet::identity::tags},   {name, applet::identity::name},
    {build, applet::identity::build}, {version, applet::identity::version},
};

template <typename Value>
void put(void* out, Value value) {
    if (out != nullptr) {
        *static_cast<Value*>(out) = value;
    }
}

// Length first and address second: the reverse of what the design image loader takes, and part of the interface.
void putBlock(std::span<const std::uint8_t> block, void* out1, void* out2) {
    put(out1, block.size());
    put(out2, static_cast<const void*>(block.data()));
}

std::int32_t constant(const char* constantName) {
    const std::string_view wanted = constantName == nullptr ? "" : constantName;
    for (const parameters::Enumeration* enumeration : parameters::allEnumerations) {
        const auto entries = enumeration->entries();
        if (const auto entry = std::ranges::find(entries, wanted, &parameters::Enumerator::name);
            entry != entries.end()) {
            return entry->value;
        }
    }
    return FG_ERROR_UNKNOWN;
}

} // namespace

extern "C" std::int32_t Info(std::int32_t request, std::uint32_t index1, std::uint32_t index2, void* out1, void* out2) {
    switch (request) {
    case icon: // every index yields the same icon
        putBlock(applet::iconImage(), out1, out2);
        return 0;
    case designImage:
        putBlock(applet::embeddedDesignImage(), out1, out2);
        return 0;
    case clearedValue:
        put(out1, std::int32_t{0});
        return 0;
    case lastBoard:
        put(out1, applet::lastBoard());
        return 0;
    case lastDesignImage:
        put(out1, applet::lastDesignImage());
        return 0;
    case namedConstant:
        return constant(static_cast<const char*>(out1));
    default:
        break;
    }
    if (const auto* fact = std::ranges::find(facts, request, &Fact::request); fact != std::end(facts)) {
        const bool refused = (fact->indices >= 1 && index1 != 0) || (fact->indices >= 2 && index2 != 0);
        return refused ? FG_ERROR_UNKNOWN : fact->answer;
    }
    if (const auto* text = std::ranges::find(texts, request, &Text::request); text != std::end(texts)) {
        put(out2, text->text);
        return 0;
    }
    return FG_ERROR_NOT_SUPPORTED;
}
