#include "parameters/information.h"

#include "parameters/registry.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <locale>
#include <sstream>
#include <utility>

namespace qelm::parameters {

CategoryNode& Information::addCategory(CategoryNode& parent, std::string name) {
    CategoryNode& category = categories_.emplace_back(CategoryNode{std::move(name), &parent});
    parent.categories.push_back(&category);
    return category;
}

ParameterNode& Information::add(ParameterNode::Kind kind, CategoryNode& category, std::string displayName,
                                std::string name, std::int32_t access, std::int32_t id) {
    ParameterNode& node = parameters_.emplace_back();
    node.kind = kind;
    node.category = &category;
    node.displayName = std::move(displayName);
    node.name = std::move(name);
    node.access = access;
    node.id = id;
    category.parameters.push_back(&node);
    byId_[id] = &node;
    return node;
}

ParameterNode& Information::addInteger(CategoryNode& category, std::string displayName, std::string name,
                                       std::int64_t minimum, std::int64_t maximum, std::int64_t increment,
                                       std::int32_t access, std::int32_t level, std::string unit, std::int32_t id) {
    ParameterNode& node =
        add(ParameterNode::Kind::integer, category, std::move(displayName), std::move(name), access, id);
    node.integerRange.minimum = minimum;
    node.integerRange.maximum = maximum;
    node.integerRange.increment = increment;
    node.level = level;
    node.unit = std::move(unit);
    return node;
}

ParameterNode& Information::addFloat(CategoryNode& category, std::string displayName, std::string name, double minimum,
                                     double maximum, double increment, std::int32_t access, std::int32_t level,
                                     std::string unit, std::int32_t id) {
    ParameterNode& node =
        add(ParameterNode::Kind::floatingPoint, category, std::move(displayName), std::move(name), access, id);
    node.floatRange.minimum = minimum;
    node.floatRange.maximum = maximum;
    node.floatRange.increment = increment;
    node.level = level;
    node.unit = std::move(unit);
    return node;
}

ParameterNode& Information::addEnumeration(CategoryNode& category, std::string displayName, std::string name,
                                           const Enumeration& enumeration, std::int32_t access, std::int32_t id) {
    ParameterNode& node =
        add(ParameterNode::Kind::enumeration, category, std::move(displayName), std::move(name), access, id);
    node.entries.assign(enumeration.entries().begin(), enumeration.entries().end());
    return node;
}

ParameterNode& Information::addFileName(CategoryNode& category, std::string displayName, std::string name,
                                        std::string filter, std::int32_t access, std::int32_t id) {
    ParameterNode& node =
        add(ParameterNode::Kind::fileName, category, std::move(displayName), std::move(name), access, id);
    node.filter = std::move(filter);
    return node;
}

void Information::addFixedParameters() {
    CategoryNode& root = this->root();
#define INFO_CATEGORY(symbol, parent, name) CategoryNode& symbol = addCategory(parent, name);
#define INFO_INTEGER(category, displayName, parameter, minimum, maximum, increment, unit, access, level)               \
    addInteger(category, displayName, #parameter, minimum, maximum, increment, access, level, unit, parameter);
#define INFO_FLOAT(category, displayName, parameter, minimum, maximum, increment, unit, access, level)                 \
    addFloat(category, displayName, #parameter, minimum, maximum, increment, access, level, unit, parameter);
#define INFO_ENUMERATION(category, displayName, parameter, enumeration, access)                                        \
    addEnumeration(category, displayName, #parameter, enumerations::enumeration, access, parameter);
#define INFO_FILE_NAME(category, displayName, parameter, filter, access)                                               \
    addFileName(category, displayName, #parameter, filter, access, parameter);
#include "parameters/information_rows.inc"

    for (const FixedParameter& row : fixedParameters()) {
        if (ParameterNode* node = findMutable(row.id)) {
            node->description = row.description;
        }
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
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(17);
    text << "Name: " << node->name << "\nDisplay name: " << node->displayName << "\nCategory: " << node->category->name
         << "\nIdentifier: " << node->id << "\nAccess: " << node->access << '\n';
    switch (node->kind) {
    case ParameterNode::Kind::integer:
        text << "Kind: integer\nMinimum: " << node->integerRange.minimum << "\nMaximum: " << node->integerRange.maximum
             << "\nIncrement: " << node->integerRange.increment << '\n';
        break;
    case ParameterNode::Kind::floatingPoint:
        text << "Kind: floating point\nMinimum: " << node->floatRange.minimum
             << "\nMaximum: " << node->floatRange.maximum << "\nIncrement: " << node->floatRange.increment << '\n';
        break;
    case ParameterNode::Kind::enumeration:
        text << "Kind: enumeration\n";
        for (const Enumerator& entry : node->entries) {
            text << "Entry: " << entry.name << " = " << entry.value << " (" << entry.text << ")\n";
        }
        break;
    case ParameterNode::Kind::fileName:
        text << "Kind: file name\nFilter: " << node->filter << '\n';
        break;
    }
    if (!node->unit.empty()) {
        text << "Unit: " << node->unit << '\n';
    }
    if (!node->description.empty()) {
        text << "Description: " << node->description << '\n';
    }
    described_ = text.str();
    return described_.c_str();
}

} // namespace qelm::parameters
