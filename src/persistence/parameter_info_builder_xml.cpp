#include "persistence/parameter_info_builder_xml.h"

#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <array>
#include <cmath>
#include <concepts>

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

/** Hands a text to `append` in pieces, with entities for what XML reserves. */
template <typename Append>
void escapeInto(std::string_view text, Append&& append) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (needsEscape[static_cast<unsigned char>(text[i])]) {
            append(text.substr(done, i - done));
            append(escape(text[i]));
            done = i + 1;
        }
    }
    append(text.substr(done));
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

template <typename Number>
void ParameterInfoBuilderXML::writeElement(std::string_view element, Number value) {
    write("<", element, ">", value, "</", element, ">\n");
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
    case Node::Kind::floatingPoint:
        writeNumber(node);
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

void ParameterInfoBuilderXML::writeNumber(const Node& node) {
    if (node.kind == Node::Kind::floatingPoint) {
        write("<Float Name=\"", name_, "\">\n");
    } else {
        write("<Integer Name='", name_, "'>\n");
    }
    writeDescription(node);
    writeRegisterReference("pValue");
    writeLimits(node);
    write(node.kind == Node::Kind::floatingPoint ? "</Float>\n" : "</Integer>\n");
    if (node.elementCount != 0) {
        writeSelector(node);
    }
    writeNumberRegister(node);
}

void ParameterInfoBuilderXML::writeLimits(const Node& node) {
    const auto writeRange = [this](const auto& range) {
        writeElement("Min", range.minimum.load(std::memory_order_relaxed));
        writeElement("Max", range.maximum.load(std::memory_order_relaxed));
    };
    const auto writeIncrement = [this](auto increment) {
        if (increment != 0) {
            writeElement("Inc", increment);
        }
    };
    if (node.kind == Node::Kind::floatingPoint) {
        writeRange(node.floatRange);
    } else if (node.kind == Node::Kind::wideInteger) {
        writeRange(node.wideRange);
        writeIncrement(node.wideRange.increment);
    } else {
        writeRange(node.integerRange);
        writeIncrement(node.integerRange.increment);
    }
}

void ParameterInfoBuilderXML::writeNumberRegister(const Node& node) {
    if (node.kind == Node::Kind::floatingPoint) {
        write("<FloatReg Name=\"", name_, "_Reg\">\n");
        writeCommonRegisterFields(node, floatLength);
        write("<Endianess>LittleEndian</Endianess>\n</FloatReg>\n");
        return;
    }
    write("<IntReg Name=\"", name_, "_Reg\">\n");
    writeCommonRegisterFields(node, node.id == FG_TRANSFER_LEN ? transferLengthLength : integerLength);
    write("<Sign>Signed</Sign>\n<Endianess>LittleEndian</Endianess>\n</IntReg>\n");
}

void ParameterInfoBuilderXML::writeEnumeration(const Node& node) {
    write("<Enumeration Name='", name_, "'>\n");
    writeDescription(node);
    for (const Node::Entry& entry : node.entries) {
        write("<EnumEntry Name=\"", Text{entry.name}, "\">\n<Value>", entry.value, "</Value>\n</EnumEntry>\n");
    }
    writeRegisterReference("pValue");
    write("</Enumeration>\n<IntReg Name=\"", name_, "_Reg\">\n");
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
    write("<Integer Name='", name_, "_Selector'>\n<Value>0</Value>\n<Min>0</Min>\n<Max>", node.elementCount - 1,
          "</Max>\n<Inc>1</Inc>\n");
    writeRegisterReference("pSelect");
    write("</Integer>\n");
}

void ParameterInfoBuilderXML::writeCommonRegisterFields(const Node& node, std::uint32_t length) {
    if (node.id != 0) {
        writeElement("Address", node.id);
    }
    write("<Length>", length, "</Length>\n<AccessMode>", accessMode(node.access.load(std::memory_order_relaxed)),
          "</AccessMode>\n<pPort>DevicePort</pPort>\n");
}

void ParameterInfoBuilderXML::writeDescription(const Node& node) {
    if (!node.description.empty()) {
        write("<Description>", Text{node.description}, "</Description>\n");
    }
}

void ParameterInfoBuilderXML::writeRegisterReference(std::string_view element) {
    write("<", element, ">", name_, "_Reg</", element, ">\n");
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
