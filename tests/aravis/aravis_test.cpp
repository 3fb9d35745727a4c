// Aravis as the GenApi client: it must find in the document every parameter that the applet describes, and understand
// of each what the applet says of it.

#include "qelm/host/descriptions.h"
#include "qelm/host/system.h"

#include <arv.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <ranges>

namespace qelm::test {
namespace {

using host::Parameter;
using host::ParameterKind;

struct Unref {
    void operator()(ArvGc* document) const { g_object_unref(document); }
};

/** A document as Aravis sees it, beside the board that it describes. */
class Aravis : public testing::TestWithParam<bool> {
  protected:
    Aravis() {
        host::setEnvironment("QELM_ENABLE_DRA", GetParam() ? "on" : nullptr);
        host::setEnvironment("QELM_ENABLE_DZEA", GetParam() ? "on" : nullptr);
        board_ = std::make_unique<host::Board>(applet_);
        xml_ = host::readDescriptionXml(*board_);
        document_.reset(arv_gc_new(nullptr, xml_.data(), xml_.size()));
    }

    ArvGcNode* find(const std::string& name) const { return arv_gc_get_node(document_.get(), name.c_str()); }

    void expectLimits(const Parameter& parameter, ArvGcNode* node) const {
        GError* error = nullptr;
        if (parameter.kind == ParameterKind::floatingPoint) {
            ASSERT_TRUE(ARV_IS_GC_FLOAT_NODE(node));
            EXPECT_EQ(arv_gc_float_get_min(ARV_GC_FLOAT(node), &error), parameter.minimum);
            EXPECT_EQ(arv_gc_float_get_max(ARV_GC_FLOAT(node), &error), parameter.maximum);
        } else {
            ASSERT_TRUE(ARV_IS_GC_INTEGER_NODE(node));
            EXPECT_EQ(arv_gc_integer_get_min(ARV_GC_INTEGER(node), &error),
                      static_cast<std::int64_t>(parameter.minimum));
            EXPECT_EQ(arv_gc_integer_get_max(ARV_GC_INTEGER(node), &error),
                      static_cast<std::int64_t>(parameter.maximum));
            const auto increment = parameter.increment == 0.0 ? 1 : static_cast<std::int64_t>(parameter.increment);
            EXPECT_EQ(arv_gc_integer_get_inc(ARV_GC_INTEGER(node), &error), increment);
        }
        EXPECT_EQ(error, nullptr) << error->message;
    }

    static void expectEntries(const Parameter& parameter, ArvGcNode* node) {
        ASSERT_TRUE(ARV_IS_GC_ENUMERATION(node));
        const GSList* entry = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node));
        for (const host::EnumerationEntry& expected : parameter.entries | std::views::reverse) { // Aravis lists them so
            ASSERT_NE(entry, nullptr) << expected.name;
            EXPECT_EQ(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry->data)), expected.name);
            EXPECT_EQ(arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(entry->data), nullptr), expected.value);
            entry = entry->next;
        }
        EXPECT_EQ(entry, nullptr);
    }

    void expectRegister(const Parameter& parameter, ArvGcNode* node, std::uint64_t length) const {
        ASSERT_TRUE(ARV_IS_GC_REGISTER(node));
        EXPECT_EQ(arv_gc_register_get_address(ARV_GC_REGISTER(node), nullptr),
                  static_cast<std::uint64_t>(parameter.id));
        EXPECT_EQ(arv_gc_register_get_length(ARV_GC_REGISTER(node), nullptr), length);
    }

    static void expectAccess(const Parameter& parameter, ArvGcNode* node) {
        const ArvGcAccessMode mode = arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(node));
        EXPECT_EQ(mode, parameter.isWritable() ? ARV_GC_ACCESS_MODE_RW : ARV_GC_ACCESS_MODE_RO);
    }

    host::Applet applet_;
    std::unique_ptr<host::Board> board_;
    std::string xml_;
    std::unique_ptr<ArvGc, Unref> document_;
};

TEST_P(Aravis, UnderstandsEveryParameterAsTheAppletDescribesIt) {
    ASSERT_NE(document_, nullptr);
    int found = 0;
    for (const Parameter& parameter : host::registeredParameters(*board_)) {
        SCOPED_TRACE(parameter.name);
        ArvGcNode* node = find(parameter.name);
        const bool isLeftOut = parameter.category.empty() || parameter.category == "Direct Register Access";
        ASSERT_EQ(node != nullptr, !isLeftOut);
        if (isLeftOut) {
            continue;
        }
        ++found;
        ArvGcNode* content = find(parameter.name + "_Reg");
        switch (parameter.kind) {
        case ParameterKind::integer:
        case ParameterKind::wideInteger:
            expectLimits(parameter, node);
            expectRegister(parameter, content, 4);
            break;
        case ParameterKind::floatingPoint:
            expectLimits(parameter, node);
            expectRegister(parameter, content, 8);
            break;
        case ParameterKind::enumeration:
            expectEntries(parameter, node);
            expectRegister(parameter, content, 4);
            break;
        case ParameterKind::fileName:
        case ParameterKind::text:
            ASSERT_TRUE(ARV_IS_GC_STRING(node));
            expectRegister(parameter, node, 4096);
            break;
        case ParameterKind::lutEntry:
            FAIL() << "has no description";
        }
        expectAccess(parameter, node);
        if (!parameter.description.empty()) {
            EXPECT_EQ(arv_gc_feature_node_get_description(ARV_GC_FEATURE_NODE(node)), parameter.description);
        }
    }
    const auto ofFixed = std::ranges::count_if(host::fixedParameters(),
                                               [](const Parameter& parameter) { return !parameter.category.empty(); });
    EXPECT_EQ(found > ofFixed, GetParam());
    EXPECT_GE(found, ofFixed);
}

TEST_P(Aravis, WalksTheTree) {
    ASSERT_NE(document_, nullptr);
    int features = 0;
    const auto walk = [&](const auto& self, const char* name, int depth) -> void {
        ASSERT_LT(depth, 20) << name << ": a category within itself";
        ArvGcNode* node = find(name);
        ASSERT_NE(node, nullptr) << name;
        if (!ARV_IS_GC_CATEGORY(node)) {
            ++features;
            return;
        }
        for (const GSList* member = arv_gc_category_get_features(ARV_GC_CATEGORY(node)); member != nullptr;
             member = member->next) {
            self(self, static_cast<const char*>(member->data), depth + 1);
        }
    };
    walk(walk, "Root", 0);
    EXPECT_GT(features, 120); // two categories share the name "Statistics": a client sees one of them twice
}

INSTANTIATE_TEST_SUITE_P(DirectAccess, Aravis, testing::Bool(),
                         [](const auto& on) { return std::string(on.param ? "On" : "Off"); });

} // namespace
} // namespace qelm::test
