#include "description/information_text.h"

#include <charconv>

namespace qelm::description {
namespace {

template <typename Number>
std::string number(Number value) {
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    return {digits, end};
}

class Lines {
  public:
    void add(std::string_view key, std::string_view value) {
        text_ += key;
        text_ += ": ";
        text_ += value;
        text_ += '\n';
    }
    void addUnlessEmpty(std::string_view key, std::string_view value) {
        if (!value.empty()) {
            add(key, value);
        }
    }
    template <typename T>
    void addRange(const ParameterNode::Range<T>& range) {
        add("Minimum", number(range.minimum.load(std::memory_order_relaxed)));
        add("Maximum", number(range.maximum.load(std::memory_order_relaxed)));
        add("Increment", number(range.increment));
    }
    std::string take() { return std::move(text_); }

  private:
    std::string text_;
};

const char* kindName(ParameterNode::Kind kind) {
    constexpr const char* names[] = {"integer", "64-bit integer", "floating point", "enumeration", "file name", "text"};
    return names[static_cast<std::size_t>(kind)];
}

/** "Trigger / Trigger Input / Statistics" */
std::string path(const CategoryNode& category) {
    const bool isTopLevel = category.parent == nullptr || category.parent->parent == nullptr;
    return isTopLevel ? category.name : path(*category.parent) + " / " + category.name;
}

} // namespace

std::string informationText(const ParameterNode& node) {
    Lines lines;
    lines.add("Name", node.name);
    lines.add("Display name", node.displayName);
    lines.add("Category", path(*node.category));
    lines.add("Identifier", number(node.id));
    lines.add("Kind", kindName(node.kind));
    lines.add("Access", number(node.access.load(std::memory_order_relaxed)));
    lines.add("Level", number(node.level));
    switch (node.kind) {
    case ParameterNode::Kind::integer:
        lines.addRange(node.integerRange);
        break;
    case ParameterNode::Kind::wideInteger:
        lines.addRange(node.wideRange);
        break;
    case ParameterNode::Kind::floatingPoint:
        lines.addRange(node.floatRange);
        break;
    case ParameterNode::Kind::enumeration:
        for (const ParameterNode::Entry& entry : node.entries) {
            lines.add("Entry", entry.name + " = " + number(entry.value) + " (" + entry.text + ")");
        }
        break;
    case ParameterNode::Kind::fileName:
        lines.add("Filter", node.filter);
        break;
    case ParameterNode::Kind::text:
        break;
    }
    if (node.elementCount != 0) {
        lines.add("Elements", number(node.elementCount));
    }
    lines.addUnlessEmpty("Unit", node.unit);
    lines.addUnlessEmpty("Description", node.description);
    return lines.take();
}

} // namespace qelm::description
