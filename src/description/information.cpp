#include "description/information.h"

#include "description/display_text.h"
#include "description/information_text.h"
#include "parameters/rows.h"

#include <utility>

namespace qelm::description {
namespace {

using Kind = ParameterNode::Kind;

template <typename T>
void setRange(ParameterNode::Range<T>& range, T minimum, T maximum, T increment) {
    range.minimum = minimum;
    range.maximum = maximum;
    range.increment = increment;
}

} // namespace

CategoryNode& Information::addCategory(CategoryNode& parent, std::string_view name) {
    CategoryNode& category = categories_.emplace_back(CategoryNode{displayText(name), &parent});
    parent.categories.push_back(&category);
    return category;
}

ParameterNode& Information::add(Kind kind, CategoryNode& category, std::string_view displayName, std::string_view name,
                                std::int32_t access, std::int32_t level, std::string_view unit, std::int32_t id) {
    ParameterNode& node = parameters_.emplace_back();
    node.kind = kind;
    node.category = &category;
    node.displayName = displayText(displayName);
    node.name = displayText(name);
    node.access = access;
    node.level = level;
    node.unit = displayText(unit);
    node.id = id;
    category.parameters.push_back(&node);
    byId_[id] = &node;
    return node;
}

ParameterNode& Information::addInteger(CategoryNode& category, std::string_view displayName, std::string_view name,
                                       std::int64_t minimum, std::int64_t maximum, std::int64_t increment,
                                       std::int32_t access, std::int32_t level, std::string_view unit,
                                       std::int32_t id) {
    ParameterNode& node = add(Kind::integer, category, displayName, name, access, level, unit, id);
    setRange(node.integerRange, minimum, maximum, increment);
    return node;
}

ParameterNode& Information::addWideInteger(CategoryNode& category, std::string_view displayName, std::string_view name,
                                           std::uint64_t minimum, std::uint64_t maximum, std::uint64_t increment,
                                           std::int32_t access, std::int32_t level, std::string_view unit,
                                           std::int32_t id) {
    ParameterNode& node = add(Kind::wideInteger, category, displayName, name, access, level, unit, id);
    setRange(node.wideRange, minimum, maximum, increment);
    return node;
}

ParameterNode& Information::addFloat(CategoryNode& category, std::string_view displayName, std::string_view name,
                                     double minimum, double maximum, double increment, std::int32_t access,
                                     std::int32_t level, std::string_view unit, std::int32_t id) {
    ParameterNode& node = add(Kind::floatingPoint, category, displayName, name, access, level, unit, id);
    setRange(node.floatRange, minimum, maximum, increment);
    return node;
}

ParameterNode& Information::addEnumeration(CategoryNode& category, std::string_view displayName, std::string_view name,
                                           std::int32_t access, std::string_view unit, std::int32_t id) {
    return add(Kind::enumeration, category, displayName, name, access, 1, unit, id);
}

ParameterNode& Information::addFileName(CategoryNode& category, std::string_view displayName, std::string_view name,
                                        std::string_view filter, std::int32_t access, std::int32_t id) {
    ParameterNode& node = add(Kind::fileName, category, displayName, name, access, 1, "", id);
    node.filter = displayText(filter);
    return node;
}

ParameterNode& Information::addText(CategoryNode& category, std::string_view displayName, std::string_view name,
                                    std::int32_t access, std::int32_t id) {
    return add(Kind::text, category, displayName, name, access, 1, "", id);
}

void Information::addEntry(ParameterNode& enumeration, std::string_view text, std::int32_t value,
                           std::string_view name) {
    constexpr std::size_t longestText = 255; // what readers of the entries have room for
    enumeration.entries.push_back({std::string(cutText(displayText(text), longestText)), value, displayText(name)});
}

void Information::addFixedParameters() {
    std::map<const parameters::Category*, CategoryNode*> nodes{{nullptr, &root()}};
    for (const parameters::Category& category : parameters::categories) {
        nodes[&category] = &addCategory(*nodes.at(category.parent), category.name);
    }
    for (const parameters::Row* row : parameters::orders::information) {
        addFixedParameter(*nodes.at(row->category), *row);
    }
}

void Information::addFixedParameter(CategoryNode& category, const parameters::Row& row) {
    const Kind kind = row.enumeration != nullptr                   ? Kind::enumeration
                      : row.filter != nullptr                      ? Kind::fileName
                      : row.type == parameters::ValueType::float64 ? Kind::floatingPoint
                                                                   : Kind::integer;
    ParameterNode& node = add(kind, category, row.displayName, row.name, row.access, row.level, row.unit, row.id);
    node.description = row.description;
    switch (kind) {
    case Kind::enumeration:
        for (const parameters::Enumerator& entry : row.enumeration->entries()) {
            addEntry(node, entry.text, entry.value, entry.name);
        }
        break;
    case Kind::fileName:
        node.filter = displayText(row.filter);
        break;
    case Kind::floatingPoint:
        setRange(node.floatRange, row.minimum, row.maximum, row.step);
        break;
    default:
        setRange(node.integerRange, static_cast<std::int64_t>(row.minimum), static_cast<std::int64_t>(row.maximum),
                 static_cast<std::int64_t>(row.step));
        break;
    }
}

const ParameterNode* Information::find(std::int32_t id) const {
    const auto entry = byId_.find(id);
    return entry == byId_.end() ? nullptr : entry->second;
}

ParameterNode* Information::findMutable(std::int32_t id) {
    return const_cast<ParameterNode*>(find(id));
}

void Information::setMaximum(std::int32_t id, std::int64_t maximum) {
    if (ParameterNode* node = findMutable(id)) {
        node->integerRange.maximum.store(maximum, std::memory_order_relaxed);
    }
}

void Information::setFloatRange(std::int32_t id, double minimum, double maximum) {
    if (ParameterNode* node = findMutable(id)) {
        node->floatRange.minimum.store(minimum, std::memory_order_relaxed);
        node->floatRange.maximum.store(maximum, std::memory_order_relaxed);
    }
}

void Information::setAccess(std::int32_t id, std::int32_t access) {
    if (ParameterNode* node = findMutable(id)) {
        node->access.store(access, std::memory_order_relaxed);
    }
}

const char* Information::describe(std::int32_t id) {
    const ParameterNode* node = find(id);
    if (node == nullptr) {
        return nullptr;
    }
    std::string text = informationText(*node);
    const templates::platform::CriticalSectionGuard guard(&handedOutLock_);
    return handedOut_.insert(std::move(text)).first->c_str();
}

} // namespace qelm::description
