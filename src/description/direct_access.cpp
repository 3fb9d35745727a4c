#include "description/direct_access.h"

#include "description/display_text.h"
#include "vendor/nuvrod.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qelm::description::direct_access {
namespace {

const std::string registerPrefix = "DRA_";
const std::string designPrefix = "DZEA_";
constexpr std::uint32_t narrowWidth = 32; // bits; wider registers are described as 64-bit integers
constexpr std::int32_t level = 1;

/** Unsigned inside, since a number from the vendor libraries may take all 32 bits. */
std::int32_t directId(std::int32_t base, std::uint32_t number) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(base) + number);
}

struct DesignRegister {
    std::string name;
    std::uint32_t address;

    std::int32_t id() const { return directId(FG_DIRECT_REGISTER_BASE, address); }
};

std::vector<DesignRegister> registersOf(void* designImage) {
    std::vector<DesignRegister> registers;
    const std::uint32_t count = getDesignRegisterCount(designImage);
    for (std::uint32_t position = 0; position < count; ++position) {
        if (const char* name = getDesignRegisterName(designImage, position + 1)) {
            registers.push_back({name, getDesignRegisterAddress(designImage, name)});
        }
    }
    return registers;
}

bool isSelectable(const DesignNode& node) {
    constexpr std::array<std::int32_t, 7> excludedKinds{1, 3, 5, 6, 9, 11, 12};
    return node.name != nullptr && std::ranges::find(excludedKinds, node.kind) == excludedKinds.end();
}

/**
 * Walks the tree breadth first. `onGroup(node, context)` gives the context for the members of a group,
 * `onParameter(node, context)` gets every selectable parameter.
 */
template <typename Context, typename OnGroup, typename OnParameter>
void walk(const DesignNode* tree, Context context, OnGroup&& onGroup, OnParameter&& onParameter) {
    std::deque<std::pair<const DesignNode*, Context>> waiting{{tree, context}};
    while (!waiting.empty()) {
        const auto [node, outer] = waiting.front();
        waiting.pop_front();
        if (node == nullptr) {
            continue;
        }
        if (node->kind != DESIGN_NODE_GROUP) {
            if (isSelectable(*node)) {
                onParameter(*node, outer);
            }
            continue;
        }
        const Context inner = onGroup(*node, outer);
        for (std::int32_t i = 0; i < node->childCount; ++i) {
            waiting.emplace_back(node->children[i], inner);
        }
    }
}

std::string keyPrefix(const persistence::SettingsStore& settings) {
    return settings.section() + "::";
}

/** Limits come as doubles, whatever the kind. */
std::int64_t toInteger(double value) {
    constexpr double bound = 9223372036854775808.0; // 2^63
    if (std::isnan(value)) {
        return 0;
    }
    if (std::abs(value) >= bound) {
        return value < 0.0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    }
    return static_cast<std::int64_t>(value);
}

std::string_view textOf(const char* text) {
    return text == nullptr ? "" : text;
}

void describe(Information& information, CategoryNode& category, const DesignNode& node, std::int32_t id) {
    // Without a description of the design's nothing is promised but that the parameter can be read.
    static constexpr DesignParameterDescription unknown{0.0, 0.0, 0.0, access::readOnly, "", 0, nullptr};
    const DesignParameterDescription& design = node.description == nullptr ? unknown : *node.description;
    const std::string name = designPrefix + node.name;
    const std::string_view unit = textOf(design.unit);
    switch (node.kind) {
    case DESIGN_NODE_FLOAT:
        information.addFloat(category, node.name, name, design.minimum, design.maximum, design.increment, design.access,
                             level, unit, id);
        break;
    case DESIGN_NODE_ENUMERATION: {
        auto& enumeration = information.addEnumeration(category, node.name, name, design.access, unit, id);
        for (std::int32_t i = 0; i < design.entryCount; ++i) {
            const DesignEnumEntry& entry = design.entries[i];
            Information::addEntry(enumeration, textOf(entry.text), entry.value, textOf(entry.name));
        }
        break;
    }
    case DESIGN_NODE_TEXT:
        information.addText(category, node.name, name, design.access, id);
        break;
    default: // integers, and kinds to come, whose values are taken for the plainest
        information.addInteger(category, node.name, name, toInteger(design.minimum), toInteger(design.maximum),
                               toInteger(design.increment), design.access, level, unit, id);
        break;
    }
}

/** Adds categories under names that no other category has: readers of the XML tell categories by name. */
class UniqueCategories {
  public:
    explicit UniqueCategories(Information& information) : information_(information) {
        for (const CategoryNode& category : information.categories()) {
            taken_.insert(category.name);
        }
    }

    /** Puts the names of the groups around it before a name that is taken: "ROI", then "Buffer_0_ROI". */
    CategoryNode& add(CategoryNode& parent, const char* groupName) {
        std::string name = displayText(groupName);
        for (const CategoryNode* around = &parent; around != nullptr && taken_.contains(name);
             around = around->parent) {
            name.insert(0, around->name + "_");
        }
        while (!taken_.insert(name).second) {
            name += '_';
        }
        return information_.addCategory(parent, name);
    }

  private:
    Information& information_;
    std::set<std::string> taken_;
};

} // namespace

std::uint64_t largestOfWidth(std::uint32_t bits) {
    return bits >= 64 ? std::numeric_limits<std::uint64_t>::max() : (std::uint64_t{1} << bits) - 1;
}

void registerRegisters(parameters::Registry& registry, void* designImage) {
    for (const DesignRegister& entry : registersOf(designImage)) {
        registry.addDirectRegister(registerPrefix + entry.name, entry.id());
    }
}

void describeRegisters(Information& information, void* designImage) {
    CategoryNode& category = information.addCategory(information.root(), directRegisterCategory);
    for (const DesignRegister& entry : registersOf(designImage)) {
        const std::uint32_t width = getDesignRegisterWidth(designImage, entry.address);
        const std::uint64_t maximum = largestOfWidth(width);
        const std::string displayName = entry.name + " (" + std::to_string(width) + ")";
        const std::string name = registerPrefix + entry.name;
        const std::int32_t access =
            isDesignRegisterWritable(designImage, entry.address) != 0 ? access::readWrite : access::readOnly;
        if (width > narrowWidth) {
            information.addWideInteger(category, displayName, name, 0, maximum, 1, access, level, "", entry.id());
        } else {
            information.addInteger(category, displayName, name, 0, static_cast<std::int64_t>(maximum), 1, access, level,
                                   "", entry.id());
        }
    }
}

void addDefaultSelection(persistence::SettingsStore& settings, const DesignNode* tree) {
    const std::string prefix = keyPrefix(settings);
    walk(
        tree, std::monostate{}, [](auto&&...) { return std::monostate{}; },
        [&](const DesignNode& node, std::monostate) { settings.addDefault(prefix + node.name, "On"); });
}

void registerDesignParameters(parameters::Registry& registry, const persistence::SettingsStore& settings,
                              const std::function<std::int32_t(const char* name)>& resolve) {
    const std::string prefix = keyPrefix(settings);
    for (const std::string& key : settings.keysWithPrefix(prefix)) {
        const std::string name = key.substr(prefix.size());
        if (!persistence::meansYes(settings.value(key).value_or(""))) {
            continue;
        }
        if (const std::int32_t id = resolve(name.c_str()); id != 0) {
            registry.addDirectDesign(designPrefix + name,
                                     directId(FG_DIRECT_DESIGN_BASE, static_cast<std::uint32_t>(id)));
        }
    }
}

void describeDesignParameters(Information& information, const parameters::Registry& registry, const DesignNode* tree) {
    CategoryNode& top = information.addCategory(information.root(), directDesignCategory);
    UniqueCategories categories(information);
    walk(
        tree, &top,
        [&](const DesignNode& group, CategoryNode* around) {
            // A group without a name cannot be a category; its members belong to the group around it.
            return textOf(group.name).empty() ? around : &categories.add(*around, group.name);
        },
        [&](const DesignNode& node, CategoryNode* group) {
            if (const auto id = registry.directDesignId(designPrefix + node.name)) {
                describe(information, *group, node, *id);
            }
        });
}

} // namespace qelm::description::direct_access
