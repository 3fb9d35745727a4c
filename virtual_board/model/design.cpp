#include "model/design.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <utility>

extern "C" const char qelmBuiltInDesign[];
extern "C" const char qelmBuiltInDesignEnd[];

namespace qelm::virtual_board {
namespace {

using Json = nlohmann::json;

constexpr std::size_t deepestGroup = 16;
constexpr std::size_t longestName = 255;
constexpr std::size_t largestIdRange = 65536;
constexpr std::size_t mostElements = std::size_t{1} << 20;
constexpr std::size_t mostCoefficientBuffers = 8;

struct Unsound {};

void require(bool condition) {
    if (!condition) {
        throw Unsound{};
    }
}

// The parser keeps one value for each level of nesting, so brackets are counted before it sees the text.
bool isNestedTooDeeply(std::string_view text) {
    constexpr int deepest = 2 * static_cast<int>(deepestGroup) + 8;
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > deepest) {
                return true;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

/** One JSON object of the description; refuses missing, ill-typed and unknown members. */
class Object {
  public:
    Object(const Json& json, std::initializer_list<std::string_view> members) : json_(json) {
        require(json.is_object());
        for (const auto& [key, value] : json.items()) {
            require(std::find(members.begin(), members.end(), key) != members.end());
        }
    }

    bool has(const char* member) const { return json_.contains(member); }

    const Json& array(const char* member) const {
        const Json& value = at(member);
        require(value.is_array());
        return value;
    }
    const Json& object(const char* member) const {
        const Json& value = at(member);
        require(value.is_object());
        return value;
    }
    bool boolean(const char* member) const {
        const Json& value = at(member);
        require(value.is_boolean());
        return value.get<bool>();
    }
    double number(const char* member) const {
        const Json& value = at(member);
        require(value.is_number());
        return value.get<double>();
    }
    std::uint64_t integer(const char* member, std::uint64_t minimum, std::uint64_t maximum) const {
        const Json& value = at(member);
        require(value.is_number_unsigned());
        const auto result = value.get<std::uint64_t>();
        require(result >= minimum && result <= maximum);
        return result;
    }
    std::uint32_t word(const char* member, std::uint32_t minimum = 0,
                       std::uint32_t maximum = std::numeric_limits<std::uint32_t>::max()) const {
        return static_cast<std::uint32_t>(integer(member, minimum, maximum));
    }
    std::int32_t signedWord(const char* member) const {
        const Json& value = at(member);
        require(value.is_number_integer() && (!value.is_number_unsigned() ||
                                              value.get<std::uint64_t>() <= std::numeric_limits<std::int32_t>::max()));
        const auto result = value.get<std::int64_t>();
        require(result >= std::numeric_limits<std::int32_t>::min() &&
                result <= std::numeric_limits<std::int32_t>::max());
        return static_cast<std::int32_t>(result);
    }
    std::string text(const char* member, std::size_t longest = longestName) const {
        const Json& value = at(member);
        require(value.is_string());
        const auto& result = value.get_ref<const std::string&>();
        require(result.size() <= longest && result.find('\0') == std::string::npos);
        return result;
    }
    std::string name(const char* member) const {
        std::string result = text(member);
        require(!result.empty());
        return result;
    }

  private:
    const Json& at(const char* member) const {
        const auto place = json_.find(member);
        require(place != json_.end());
        return *place;
    }

    const Json& json_;
};

Kind kindNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, Kind> kinds[] = {{"command", Kind::Command},
                                                                  {"integer", Kind::Integer},
                                                                  {"field", Kind::Field},
                                                                  {"float", Kind::Float},
                                                                  {"link", Kind::Link},
                                                                  {"pin", Kind::Pin},
                                                                  {"enumeration", Kind::Enumeration},
                                                                  {"text", Kind::Text},
                                                                  {"stream", Kind::Stream},
                                                                  {"memory", Kind::Memory},
                                                                  {"clock", Kind::Clock}};
    for (const auto& [text, kind] : kinds) {
        if (text == name) {
            return kind;
        }
    }
    throw Unsound{};
}

} // namespace

/** Fills one Design from its description; throws Unsound at whatever is not as it must be. */
class DesignReader {
  public:
    DesignReader(Design& design, const Json& json) : design_(design) {
        const Object root(json, {"name", "enumerations", "parameters", "registers", "events"});
        design_.name_ = root.name("name");
        for (const auto& [name, entries] : root.object("enumerations").items()) {
            readEnumeration(name, entries);
        }
        design_.nodes_.push_back({design_.name_.c_str(), static_cast<std::int32_t>(Kind::Group), 0, nullptr, nullptr});
        readMembers(design_.nodes_.front(), root.array("parameters"), "", 0);
        indexParameters();
        resolveCoefficientFiles();
        readRegisters(root.array("registers"));
        readEvents(root.array("events"));
    }

  private:
    const char* keep(std::string text) { return design_.strings_.emplace_back(std::move(text)).c_str(); }

    void readEnumeration(const std::string& name, const Json& json) {
        require(json.is_array() && !json.empty());
        std::vector<DesignEnumEntry>& entries = design_.enumerations_[name];
        entries.reserve(json.size());
        for (const Json& row : json) {
            const Object entry(row, {"value", "name", "text"});
            const std::int32_t value = entry.signedWord("value");
            require(value >= 0 && (entries.empty() || entries.back().value < value));
            entries.push_back({keep(entry.text("text")), value, keep(entry.name("name"))});
        }
    }

    void readMembers(DesignNode& group, const Json& members, const std::string& prefix, std::size_t depth) {
        require(depth < deepestGroup && members.size() <= mostElements);
        std::vector<const DesignNode*>& children = design_.children_.emplace_back();
        children.reserve(members.size());
        for (const Json& member : members) {
            require(member.is_object());
            DesignNode& node = design_.nodes_.emplace_back();
            node = {};
            children.push_back(&node);
            if (member.contains("group")) {
                const Object object(member, {"group", "members"});
                const std::string name = object.name("group");
                require(prefix.size() + name.size() < longestName);
                node.name = keep(name);
                readMembers(node, object.array("members"), prefix + name + '_', depth + 1);
            } else {
                readParameter(node, member, prefix);
            }
        }
        group.childCount = static_cast<std::int32_t>(children.size());
        group.children = children.data();
    }

    void readParameter(DesignNode& node, const Json& json, const std::string& prefix) {
        const Object object(json, {"name", "id", "kind", "access", "minimum", "maximum", "increment", "unit", "value",
                                   "enumeration", "length", "coefficientFile"});
        DesignParameter& parameter = design_.parameters_.emplace_back();
        parameter.name = prefix + object.name("name");
        require(parameter.name.size() <= longestName);
        parameter.id = object.signedWord("id");
        require(parameter.id > 0);
        parameter.kind = kindNamed(object.name("kind"));
        readValue(parameter, object);
        if (object.has("unit")) {
            parameter.unit = object.text("unit");
        }
        parameter.description.unit = parameter.unit.c_str();
        if (object.has("coefficientFile")) {
            require(parameter.kind == Kind::Command);
            coefficientFiles_.emplace_back(&parameter, object.name("coefficientFile"));
        }
        node.name = parameter.name.c_str();
        node.kind = static_cast<std::int32_t>(parameter.kind);
        node.description = &parameter.description;
    }

    void readValue(DesignParameter& parameter, const Object& object) {
        switch (parameter.kind) {
        case Kind::Integer:
        case Kind::Command:
        case Kind::Field:
            readAccess(parameter, object);
            readWordLimits(parameter, object);
            if (parameter.kind == Kind::Field) {
                parameter.length = object.word("length", 1, mostElements);
            }
            takeWords(parameter);
            break;
        case Kind::Enumeration:
            readAccess(parameter, object);
            readEntries(parameter, object);
            takeWords(parameter);
            break;
        case Kind::Float:
            readAccess(parameter, object);
            parameter.description.minimum = object.number("minimum");
            parameter.description.maximum = object.number("maximum");
            parameter.description.increment = object.number("increment");
            parameter.number = object.number("value");
            require(parameter.admits(parameter.number) && parameter.description.increment >= 0);
            parameter.slot = design_.numberCount_++;
            break;
        case Kind::Text:
            readAccess(parameter, object);
            parameter.length = object.word("length", 1, 4096);
            parameter.text = object.text("value", parameter.length);
            parameter.slot = design_.textCount_++;
            break;
        default:
            break;
        }
    }

    static void readAccess(DesignParameter& parameter, const Object& object) {
        parameter.description.access = static_cast<std::int32_t>(object.word("access", 0, 7));
    }

    static void readWordLimits(DesignParameter& parameter, const Object& object) {
        parameter.minimum = object.word("minimum");
        parameter.maximum = object.word("maximum", parameter.minimum);
        parameter.increment = object.has("increment") ? object.word("increment", 1) : 1;
        parameter.word = object.has("value") ? object.word("value") : parameter.minimum;
        parameter.description.minimum = parameter.minimum;
        parameter.description.maximum = parameter.maximum;
        parameter.description.increment = parameter.increment;
        require(parameter.admits(parameter.word));
    }

    void readEntries(DesignParameter& parameter, const Object& object) {
        const auto place = design_.enumerations_.find(object.name("enumeration"));
        require(place != design_.enumerations_.end());
        const std::vector<DesignEnumEntry>& entries = place->second;
        parameter.description.entryCount = static_cast<std::int32_t>(entries.size());
        parameter.description.entries = entries.data();
        parameter.description.minimum = entries.front().value;
        parameter.description.maximum = entries.back().value;
        parameter.description.increment = 1;
        parameter.word = object.word("value");
        require(parameter.admits(parameter.word));
    }

    void takeWords(DesignParameter& parameter) {
        parameter.slot = design_.wordCount_;
        design_.wordCount_ += parameter.length;
        require(design_.wordCount_ <= mostElements);
    }

    void indexParameters() {
        require(!design_.parameters_.empty());
        const auto [lowest, highest] =
            std::minmax_element(design_.parameters_.begin(), design_.parameters_.end(),
                                [](const auto& left, const auto& right) { return left.id < right.id; });
        const auto range = static_cast<std::size_t>(highest->id - lowest->id) + 1;
        require(range <= largestIdRange);
        design_.firstId_ = lowest->id;
        design_.parametersById_.resize(range);
        for (const DesignParameter& parameter : design_.parameters_) {
            const DesignParameter*& place =
                design_.parametersById_[static_cast<std::size_t>(parameter.id - design_.firstId_)];
            require(place == nullptr);
            place = &parameter;
            require(design_.parametersByName_.emplace(parameter.name, &parameter).second);
        }
    }

    void resolveCoefficientFiles() {
        require(coefficientFiles_.size() <= mostCoefficientBuffers);
        for (const auto& [command, name] : coefficientFiles_) {
            const DesignParameter* file = design_.parameter(name);
            require(file != nullptr && file->kind == Kind::Text);
            command->coefficientFile = file;
            command->buffer = design_.coefficientBufferCount_++;
        }
    }

    void readRegisters(const Json& json) {
        design_.registers_.reserve(json.size());
        for (const Json& row : json) {
            const Object object(row, {"name", "address", "width", "writable", "value"});
            DesignRegister& entry = design_.registers_.emplace_back();
            entry.name = object.name("name");
            entry.address = object.word("address", 1);
            entry.width = object.word("width", 1, 64);
            entry.writable = object.boolean("writable");
            entry.value = object.has("value") ? object.integer("value", 0, entry.maximum()) : 0;
        }
        for (const DesignRegister& entry : design_.registers_) {
            require(design_.registersByAddress_.emplace(entry.address, &entry).second);
            require(design_.registersByName_.emplace(entry.name, &entry).second);
        }
    }

    void readEvents(const Json& json) {
        design_.events_.reserve(json.size());
        for (const Json& row : json) {
            const Object object(row, {"name", "kind"});
            design_.events_.push_back({keep(object.name("name")), object.signedWord("kind")});
        }
    }

    Design& design_;
    std::vector<std::pair<DesignParameter*, std::string>> coefficientFiles_;
};

bool DesignParameter::admits(std::uint32_t value) const {
    if (kind == Kind::Enumeration) {
        const DesignEnumEntry* end = description.entries + description.entryCount;
        return std::any_of(description.entries, end, [value](const DesignEnumEntry& entry) {
            return static_cast<std::uint32_t>(entry.value) == value;
        });
    }
    return value >= minimum && value <= maximum && (value - minimum) % increment == 0;
}

std::shared_ptr<const Design> Design::parse(std::string_view text) {
    if (text.size() > maximumTextLength || isNestedTooDeeply(text)) {
        return nullptr;
    }
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded()) {
        return nullptr;
    }
    auto design = std::make_shared<Design>();
    try {
        DesignReader(*design, json);
    } catch (const Unsound&) {
        return nullptr;
    }
    return design;
}

std::string_view Design::builtInText() {
    return {qelmBuiltInDesign, static_cast<std::size_t>(qelmBuiltInDesignEnd - qelmBuiltInDesign)};
}

std::shared_ptr<const Design> Design::builtIn() {
    static const std::shared_ptr<const Design> design = parse(builtInText());
    return design;
}

const DesignParameter* Design::parameter(std::string_view name) const {
    const auto place = parametersByName_.find(name);
    return place == parametersByName_.end() ? nullptr : place->second;
}

const DesignRegister* Design::registerAt(std::uint32_t address) const {
    const auto place = registersByAddress_.find(address);
    return place == registersByAddress_.end() ? nullptr : place->second;
}

const DesignRegister* Design::registerNamed(std::string_view name) const {
    const auto place = registersByName_.find(name);
    return place == registersByName_.end() ? nullptr : place->second;
}

} // namespace qelm::virtual_board
