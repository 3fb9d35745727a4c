#include "description/parameter_info_builder_xml.h"

#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <type_traits>

namespace qelm::description {
namespace {

constexpr std::size_t usualSize = std::size_t{96}
                                  << 10; // room for the fixed parameters, so that the text is never moved

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

/** Appends a text with entities for what XML reserves. */
void appendEscaped(std::string& document, std::string_view text) {
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find_first_of("\"&'<>"), text.size());
        document.append(text.substr(0, plain));
        if (plain < text.size()) {
            document.append(escape(text[plain]));
        }
        text.remove_prefix(std::min(plain + 1, text.size()));
    }
}

/** Marks a text that is to be escaped. */
struct Text {
    std::string_view text;
};

void append(std::string& document, std::string_view piece) {
    document.append(piece);
}
void append(std::string& document, const Text& text) {
    appendEscaped(document, text.text);
}
/** Numbers read back as the same value, in every locale. */
template <typename Number>
requires std::is_arithmetic_v<Number>
void append(std::string& document, Number number) {
    if (std::is_floating_point_v<Number> && !std::isfinite(number)) { // as XML spells them
        document.append(std::isnan(number) ? "NaN" : number > 0 ? "INF" : "-INF");
        return;
    }
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    document.append(std::begin(digits), end);
}

std::string_view accessMode(std::int32_t access) {
    const bool readable = (access & access::read) != 0;
    const bool writable = (access & access::write) != 0;
    return readable && writable ? "RW" : readable ? "RO" : writable ? "WO" : "";
}

template <typename T>
T load(const std::atomic<T>& value) {
    return value.load(std::memory_order_relaxed);
}

/** Whether the category's parameters stand in the document. */
bool isDescribed(const CategoryNode& category) {
    return category.name != directRegisterCategory;
}

} // namespace

ParameterInfoBuilderXML::ParameterInfoBuilderXML(const Information& information, std::string_view modelName)
    : information_(information)
    , modelName_(modelName) {}

std::string ParameterInfoBuilderXML::build() {
    document_.reserve(usualSize);
    writeOpening();
    writeFeatures();
    writeCategory(information_.root());
    writeClosing();
    return std::move(document_);
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
    for (const CategoryNode& category : information_.categories()) {
        if (isDescribed(category)) {
            for (const Node* node : category.parameters) {
                writeNode(*node);
            }
        }
    }
}

void ParameterInfoBuilderXML::writeNode(const Node& node) {
    name_.clear();
    appendEscaped(name_, node.name);
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

void ParameterInfoBuilderXML::writeCategory(const CategoryNode& category) {
    write("<Category Name='", Text{category.name}, category.name == "Root" ? "' NameSpace='Standard'>\n" : "'>\n");
    for (const CategoryNode* child : category.categories) {
        write("<pFeature>", Text{child->name}, "</pFeature>\n");
    }
    if (isDescribed(category)) {
        for (const Node* node : category.parameters) {
            write("<pFeature>", Text{node->name}, "</pFeature>\n");
        }
    }
    write("</Category>\n");
    for (const CategoryNode* child : category.categories) {
        writeCategory(*child);
    }
}

void ParameterInfoBuilderXML::writeClosing() {
    write("<Port Name=\"DevicePort\"></Port>\n</RegisterDescription>\n");
}

} // namespace qelm::description
