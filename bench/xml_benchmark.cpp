// The GenApi document of all fixed parameters, beside what else could write the same bytes: a document tree that is
// built and serialised (pugixml).

#include "description/information.h"
#include "description/parameter_info_builder_xml.h"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qelm;
using description::ParameterNode;

constexpr const char* modelName = "Zantor_Obvelline_Qx4_RK";

const description::Information& information() {
    static const description::Information& built = []() -> description::Information& {
        static description::Information all;
        all.addFixedParameters();
        return all;
    }();
    return built;
}

void builder(benchmark::State& state) {
    for (auto _ : state) {
        description::ParameterInfoBuilderXML xml(information(), modelName);
        benchmark::DoNotOptimize(xml.build().data());
    }
}
BENCHMARK(builder);

class TreeBuilder {
  public:
    const pugi::xml_document& build() {
        pugi::xml_node declaration = document_.append_child(pugi::node_declaration);
        attribute(declaration, "version", "1.0");
        attribute(declaration, "encoding", "utf-8");
        root_ = document_.append_child("RegisterDescription");
        constexpr const char* attributes[][2] = {
            {"ModelName", modelName},
            {"VendorName", "Quellmark"},
            {"StandardNameSpace", "None"},
            {"SchemaMajorVersion", "1"},
            {"SchemaMinorVersion", "0"},
            {"SchemaSubMinorVersion", "1"},
            {"MajorVersion", "1"},
            {"MinorVersion", "0"},
            {"SubMinorVersion", "0"},
            {"ProductGuid", "0"},
            {"VersionGuid", "0"},
            {"xmlns", "http://www.genicam.org/GenApi/Version_1_0"},
            {"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"},
            {"xsi:schemaLocation", "http://www.genicam.org/GenApi/Version_1_0 GenApiSchema_Version_1_0.xsd"},
        };
        for (const auto& [name, value] : attributes) {
            attribute(root_, name, value);
        }
        for (const description::CategoryNode& category : information().categories()) {
            for (const ParameterNode* node : category.parameters) {
                add(*node);
            }
        }
        addCategory(information().root());
        attribute(root_.append_child("Port"), "Name", "DevicePort");
        return document_;
    }

  private:
    static void attribute(pugi::xml_node node, const char* name, const char* value) {
        node.append_attribute(name).set_value(value);
    }
    template <typename Value>
    static void child(pugi::xml_node node, const char* name, Value value) {
        node.append_child(name).text().set(value);
    }
    pugi::xml_node named(const char* element, const std::string& name) {
        pugi::xml_node node = root_.append_child(element);
        attribute(node, "Name", name.c_str());
        return node;
    }

    void add(const ParameterNode& node) {
        const std::string registerName = node.name + "_Reg";
        switch (node.kind) {
        case ParameterNode::Kind::floatingPoint: {
            pugi::xml_node feature = addFeature("Float", node);
            child(feature, "pValue", registerName.c_str());
            child(feature, "Min", node.floatRange.minimum.load());
            child(feature, "Max", node.floatRange.maximum.load());
            addRegister("FloatReg", node, registerName, 8, nullptr);
            break;
        }
        case ParameterNode::Kind::enumeration: {
            pugi::xml_node feature = addFeature("Enumeration", node);
            for (const ParameterNode::Entry& entry : node.entries) {
                pugi::xml_node entryNode = feature.append_child("EnumEntry");
                attribute(entryNode, "Name", entry.name.c_str());
                child(entryNode, "Value", entry.value);
            }
            child(feature, "pValue", registerName.c_str());
            addRegister("IntReg", node, registerName, 4, "Unsigned");
            break;
        }
        case ParameterNode::Kind::fileName:
        case ParameterNode::Kind::text:
            addFields(addFeature("StringReg", node), node, 4096);
            break;
        case ParameterNode::Kind::integer:
        case ParameterNode::Kind::wideInteger: {
            pugi::xml_node feature = addFeature("Integer", node);
            child(feature, "pValue", registerName.c_str());
            child(feature, "Min", static_cast<long long>(node.integerRange.minimum.load()));
            child(feature, "Max", static_cast<long long>(node.integerRange.maximum.load()));
            if (node.integerRange.increment != 0) {
                child(feature, "Inc", static_cast<long long>(node.integerRange.increment));
            }
            addRegister("IntReg", node, registerName, 4, "Signed");
            break;
        }
        }
    }

    pugi::xml_node addFeature(const char* element, const ParameterNode& node) {
        pugi::xml_node feature = named(element, node.name);
        if (!node.description.empty()) {
            child(feature, "Description", node.description.c_str());
        }
        return feature;
    }

    static void addFields(pugi::xml_node content, const ParameterNode& node, int length) {
        child(content, "Address", node.id);
        child(content, "Length", length);
        child(content, "AccessMode", (node.access.load() & description::access::write) != 0 ? "RW" : "RO");
        child(content, "pPort", "DevicePort");
    }

    void addRegister(const char* element, const ParameterNode& node, const std::string& name, int length,
                     const char* sign) {
        pugi::xml_node content = named(element, name);
        addFields(content, node, length);
        if (sign != nullptr) {
            child(content, "Sign", sign);
        }
        child(content, "Endianess", "LittleEndian");
    }

    void addCategory(const description::CategoryNode& category) {
        pugi::xml_node node = named("Category", category.name);
        if (category.parent == nullptr) {
            attribute(node, "NameSpace", "Standard");
        }
        for (const description::CategoryNode* inner : category.categories) {
            child(node, "pFeature", inner->name.c_str());
        }
        for (const ParameterNode* parameter : category.parameters) {
            child(node, "pFeature", parameter->name.c_str());
        }
        for (const description::CategoryNode* inner : category.categories) {
            addCategory(*inner);
        }
    }

    pugi::xml_document document_;
    pugi::xml_node root_;
};

class StringWriter final : public pugi::xml_writer {
  public:
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
    std::string text;
};

/** Whether two trees say the same; numbers may be spelt differently. */
bool same(pugi::xml_node left, pugi::xml_node right) {
    for (; left || right; left = left.next_sibling(), right = right.next_sibling()) {
        const bool sameText =
            std::string_view(left.value()) == right.value() || left.text().as_double() == right.text().as_double();
        if (std::string_view(left.name()) != right.name() || !sameText ||
            std::string_view(left.attribute("Name").value()) != right.attribute("Name").value() ||
            !same(left.first_child(), right.first_child())) {
            return false;
        }
    }
    return true;
}

void documentTree(benchmark::State& state) {
    description::ParameterInfoBuilderXML xml(information(), modelName);
    pugi::xml_document ours;
    const std::string_view text = xml.build();
    TreeBuilder theirs;
    if (!ours.load_buffer(text.data(), text.size()) ||
        !same(ours.first_child(), theirs.build().child("RegisterDescription"))) {
        state.SkipWithError("the tree does not say what the document says");
    }
    for (auto _ : state) {
        TreeBuilder tree;
        StringWriter writer;
        writer.text.reserve(text.size());
        tree.build().save(writer, "", pugi::format_raw);
        benchmark::DoNotOptimize(writer.text.data());
    }
}
BENCHMARK(documentTree);

} // namespace
