#include "persistence/parameter_info_builder_xml.h"

#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <concepts>
#include <cstring>

namespace qelm::persistence {
namespace {

constexpr std::size_t usualSize = 96 * 1024; // room for the fixed parameters, so that the text is never moved

// Register lengths in bytes. Integers and enumerations are 32 bits wide, floating-point values doubles; file names and
// texts get what the longest path of every system needs.
constexpr std::uint32_t integerLength = 4;
constexpr std::uint32_t transferLengthLength = 8;
constexpr std::uint32_t floatLength = 8;
constexpr std::uint32_t stringLength = 4096;

constexpr std::string_view escape(char character) {
    switch (character) {
    case '"':
        return "&quot;";
    case '&':
        return "&amp;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return {};
    }
}

constexpr std::array<bool, 256> needsEscape = [] {
    std::array<bool, 256> needs{};
    for (std::size_t code = 0; code < needs.size(); ++code) {
        needs[code] = !escape(static_cast<char>(code)).empty();
    }
    return needs;
}();

/** The length of the start that holds nothing to be escaped. */
std::size_t plainLength(std::string_view text) {
    // Eight characters at a time: all that XML reserves lies in 0x20 to 0x27 and 0x3C to 0x3F, and most words have
    // none.
    constexpr std::uint64_t every = 0x0101'0101'0101'0101;
    const auto hasZeroByte = [](std::uint64_t word) { return ((word - every) & ~word & (0x80 * every)) != 0; };
    std::size_t length = 0;
    while (length < text.size()) {
        std::uint64_t word = 0;
        const std::size_t step = std::min(sizeof word, text.size() - length);
        if (step == sizeof word) {
            std::memcpy(&word, text.data() + length, sizeof word);
            if (!hasZeroByte((word & 0xF8 * every) ^ 0x20 * every) &&
                !hasZeroByte((word & 0xFC * every) ^ 0x3C * every)) {
                length += step;
                continue;
            }
        }
        for (const std::size_t end = length + step; length < end; ++length) {
            if (needsEscape[static_cast<unsigned char>(text[length])]) {
                return length;
            }
        }
    }
    return length;
}

/** Hands a text to `append` in pieces, with entities for what XML reserves. */
template <typename Append>
void escapeInto(std::string_view text, Append&& append) {
    for (;;) {
        const std::size_t plain = plainLength(text);
        append(text.substr(0, plain));
        if (plain == text.size()) {
            return;
        }
        append(escape(text[plain]));
        text.remove_prefix(plain + 1);
    }
}

/** Marks a text that is to be escaped. */
struct Text {
    std::string_view text;
};

void append(TextBuffer& document, std::string_view piece) {
    document.append(piece);
}
void append(TextBuffer& document, const Text& text) {
    escapeInto(text.text, [&](std::string_view piece) { document.append(piece); });
}
void append(TextBuffer& document, std::integral auto number) {
    document.appendNumber(number);
}
void append(TextBuffer& document, double number) {
    if (std::isfinite(number)) {
        document.appendNumber(number);
    } else { // as XML spells them
        document.append(std::isnan(number) ? "NaN" : number > 0.0 ? "INF" : "-INF");
    }
}

std::string_view accessMode(std::int32_t access) {
    const bool readable = (access & parameters::access::read) != 0;
    const bool writable = (access & parameters::access::write) != 0;
    return readable && writable ? "RW" : readable ? "RO" : writable ? "WO" : "";
}

template <typename T>
T load(const std::atomic<T>& value) {
    return value.load(std::memory_order_relaxed);
}

/** Whether the category's parameters stand in the document. */
bool isDescribed(const parameters::CategoryNode& category) {
    return category.name != parameters::directRegisterCategory;
}

} // namespace

ParameterInfoBuilderXML::ParameterInfoBuilderXML(const parameters::Information& information, std::string_view modelName)
    : information_(information)
    , modelName_(modelName)
    , document_(usualSize) {}

std::string_view ParameterInfoBuilderXML::build() {
    writeOpening();
    writeFeatures();
    writeCategory(information_.root());
    writeClosing();
    return document_.view();
}

template <typename... Pieces>
void ParameterInfoBuilderXML::write(const Pieces&... pieces) {
    (append(document_, pieces), ...);
}

void ParameterInfoBuilderXML::writeOpening() {
    write("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
          "<RegisterDescription\n"
          "ModelName=\"",
          Text{modelName_},
          "\"\n"
          "VendorName=\"Quellmark\"\n"
          "StandardNameSpace=\"None\"\n"
          "SchemaMajorVersion=\"1\"\n"
          "SchemaMinorVersion=\"0\"\n"
          "SchemaSubMinorVersion=\"1\"\n"
          "MajorVersion=\"1\"\n"
          "MinorVersion=\"0\"\n"
          "SubMinorVersion=\"0\"\n"
          "ProductGuid=\"0\"\n"
          "VersionGuid=\"0\"\n"
          "xmlns=\"http://www.genicam.org/GenApi/Version_1_0\"\n"
          "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
          "xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_0 GenApiSchema_Version_1_0.xsd\">\n");
}

void ParameterInfoBuilderXML::writeFeatures() {
    for (const parameters::CategoryNode& category : information_.categories()) {
        if (isDescribed(category)) {
            for (const Node* node : category.parameters) {
                writeNode(*node);
            }
        }
    }
}

void ParameterInfoBuilderXML::writeNode(const Node& node) {
    name_.clear();
    escapeInto(node.name, [this](std::string_view piece) { name_ += piece; });
    switch (node.kind) {
    case Node::Kind::integer:
    case Node::Kind::wideInteger:
        writeInteger(node);
        break;
    case Node::Kind::floatingPoint:
        writeFloat(node);
        break;
    case Node::Kind::enumeration:
        writeEnumeration(node);
        break;
    case Node::Kind::fileName:
    case Node::Kind::text:
        writeStringRegister(node);
        break;
    }
}

void ParameterInfoBuilderXML::writeInteger(const Node& node) {
    write("<Integer Name='", name_, "'>\n");
    writeDescription(node);
    const auto writeLimits = [&](const auto& range) {
        write("<pValue>", name_, "_Reg</pValue>\n<Min>", load(range.minimum), "</Min>\n<Max>", load(range.maximum),
              "</Max>\n");
        if (range.increment != 0) {
            write("<Inc>", range.increment, "</Inc>\n");
        }
    };
    if (node.kind == Node::Kind::wideInteger) {
        writeLimits(node.wideRange);
    } else {
        writeLimits(node.integerRange);
    }
    write("</Integer>\n");
    writeSelector(node);
    write("<IntReg Name=\"", name_, "_Reg\">\n");
    writeCommonRegisterFields(node, node.id == FG_TRANSFER_LEN ? transferLengthLength : integerLength);
    write("<Sign>Signed</Sign>\n<Endianess>LittleEndian</Endianess>\n</IntReg>\n");
}

void ParameterInfoBuilderXML::writeFloat(const Node& node) {
    write("<Float Name=\"", name_, "\">\n");
    writeDescription(node);
    write("<pValue>", name_, "_Reg</pValue>\n<Min>", load(node.floatRange.minimum), "</Min>\n<Max>",
          load(node.floatRange.maximum), "</Max>\n</Float>\n");
    writeSelector(node);
    write("<FloatReg Name=\"", name_, "_Reg\">\n");
    writeCommonRegisterFields(node, floatLength);
    write("<Endianess>LittleEndian</Endianess>\n</FloatReg>\n");
}

void ParameterInfoBuilderXML::writeEnumeration(const Node& node) {
    write("<Enumeration Name='", name_, "'>\n");
    writeDescription(node);
    for (const Node::Entry& entry : node.entries) {
        write("<EnumEntry Name=\"", Text{entry.name}, "\">\n<Value>", entry.value, "</Value>\n</EnumEntry>\n");
    }
    write("<pValue>", name_, "_Reg</pValue>\n</Enumeration>\n<IntReg Name=\"", name_, "_Reg\">\n");
    writeCommonRegisterFields(node, integerLength);
    write("<Sign>Unsigned</Sign>\n<Endianess>LittleEndian</Endianess>\n</IntReg>\n");
}

void ParameterInfoBuilderXML::writeStringRegister(const Node& node) {
    write("<StringReg Name=\"", name_, "\">\n");
    writeDescription(node);
    writeCommonRegisterFields(node, stringLength);
    write("</StringReg>\n");
}

void ParameterInfoBuilderXML::writeSelector(const Node& node) {
    if (node.elementCount != 0) {
        write("<Integer Name='", name_, "_Selector'>\n<Value>0</Value>\n<Min>0</Min>\n<Max>", node.elementCount - 1,
              "</Max>\n<Inc>1</Inc>\n<pSelect>", name_, "_Reg</pSelect>\n</Integer>\n");
    }
}

void ParameterInfoBuilderXML::writeCommonRegisterFields(const Node& node, std::uint32_t length) {
    if (node.id != 0) {
        write("<Address>", node.id, "</Address>\n");
    }
    write("<Length>", length, "</Length>\n<AccessMode>", accessMode(load(node.access)),
          "</AccessMode>\n<pPort>DevicePort</pPort>\n");
}

void ParameterInfoBuilderXML::writeDescription(const Node& node) {
    if (!node.description.empty()) {
        write("<Description>", Text{node.description}, "</Description>\n");
    }
}

void ParameterInfoBuilderXML::writeCategory(const parameters::CategoryNode& category) {
    write("<Category Name='", Text{category.name}, category.name == "Root" ? "' NameSpace='Standard'>\n" : "'>\n");
    for (const parameters::CategoryNode* child : category.categories) {
        write("<pFeature>", Text{child->name}, "</pFeature>\n");
    }
    if (isDescribed(category)) {
        for (const Node* node : category.parameters) {
            write("<pFeature>", Text{node->name}, "</pFeature>\n");
        }
    }
    write("</Category>\n");
    for (const parameters::CategoryNode* child : category.categories) {
        writeCategory(*child);
    }
}

void ParameterInfoBuilderXML::writeClosing() {
    write("<Port Name=\"DevicePort\"></Port>\n</RegisterDescription>\n");
}

} // namespace qelm::persistence
