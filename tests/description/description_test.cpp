// Texts in any encoding, names that need escaping, kinds and limits at their edges.

#include "description/direct_access.h"
#include "description/display_text.h"
#include "description/information.h"
#include "description/information_text.h"
#include "description/parameter_info_builder_xml.h"

#include <gmock/gmock.h>

#include <limits>

namespace qelm::test {
namespace {

using namespace description;

using testing::HasSubstr;
using testing::Not;

TEST(DisplayText, IsUtf8WhateverComes) {
    const struct {
        std::string_view bytes;
        std::string_view text;
    } cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"\u00b5s \u20ac \U0001F4F7", "\u00b5s \u20ac \U0001F4F7"},
        {"\xB5s", "\u00b5s"}, // Latin-1
        {"\xC2", "\u00c2"},   // a character cut short
        {"\xE2\x82", "\u00e2\u0082"},
        {"\xC0\xAF", "\u00c0\u00af"},           // overlong
        {"\xED\xA0\x80", "\u00ed\u00a0\u0080"}, // a surrogate
        {"\xF4\x90\x80\x80", "\u00f4\u0090\u0080\u0080"},
        {"\xFF\xFE", "\u00ff\u00fe"},
        {"a\tb\r\nc", "a b  c"},
        {std::string_view("\x01\x00\x1F", 3), "\uFFFD\uFFFD\uFFFD"},
        {"\xEF\xBF\xBE", "\uFFFD"}, // no character
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(displayText(bytes), text) << testing::PrintToString(bytes);
    }
    EXPECT_EQ(cutText("abc", 3), "abc");
    EXPECT_EQ(cutText("abc", 2), "ab");
    EXPECT_EQ(cutText("a\u00b5", 2), "a");
    EXPECT_EQ(cutText("\u20ac", 2), "");
}

TEST(DirectAccess, LargestValueOfEveryWidth) {
    std::uint64_t expected = 0;
    for (std::uint32_t width = 0; width <= 64; ++width) {
        EXPECT_EQ(description::direct_access::largestOfWidth(width), expected) << width;
        expected = expected * 2 + 1;
    }
}

class Description : public testing::Test {
  protected:
    std::string xml() const { return ParameterInfoBuilderXML(information_, "A&B").build(); }

    Information information_;
    CategoryNode& category_ = information_.addCategory(information_.root(), "it's <\"&\">");
};

TEST_F(Description, EscapesEveryName) {
    ParameterNode& number = information_.addInteger(category_, "shown", "<n'>", 0, 1, 0, 7, 1, "", 5);
    number.description = "\"the camera's\"";
    ParameterNode& choice = information_.addEnumeration(category_, "shown", "e&", 1, "", 6);
    Information::addEntry(choice, "text", -3, "a\"b");
    information_.addText(category_, "shown", "s>\xB5", 2, 0);
    EXPECT_THAT(xml(), HasSubstr("\nModelName=\"A&amp;B\"\n"));
    EXPECT_THAT(xml(), HasSubstr("<Integer Name='&lt;n&apos;&gt;'>\n"
                                 "<Description>&quot;the camera&apos;s&quot;</Description>\n"
                                 "<pValue>&lt;n&apos;&gt;_Reg</pValue>\n<Min>0</Min>\n<Max>1</Max>\n</Integer>\n"
                                 "<IntReg Name=\"&lt;n&apos;&gt;_Reg\">\n<Address>5</Address>\n<Length>4</Length>\n"
                                 "<AccessMode>RW</AccessMode>\n<pPort>DevicePort</pPort>\n<Sign>Signed</Sign>\n"
                                 "<Endianess>LittleEndian</Endianess>\n</IntReg>\n"));
    EXPECT_THAT(xml(), HasSubstr("<Enumeration Name='e&amp;'>\n<EnumEntry Name=\"a&quot;b\">\n<Value>-3</Value>\n"
                                 "</EnumEntry>\n<pValue>e&amp;_Reg</pValue>\n</Enumeration>\n"));
    EXPECT_THAT(xml(), HasSubstr("<AccessMode>RO</AccessMode>\n<pPort>DevicePort</pPort>\n<Sign>Unsigned</Sign>\n"));
    EXPECT_THAT(xml(), HasSubstr("<StringReg Name=\"s&gt;\u00b5\">\n<Length>")) << "no address of 0";
    EXPECT_THAT(xml(), HasSubstr("<AccessMode>WO</AccessMode>"));
    EXPECT_THAT(xml(), HasSubstr("<Category Name='Root' NameSpace='Standard'>\n"
                                 "<pFeature>it&apos;s &lt;&quot;&amp;&quot;&gt;</pFeature>\n</Category>\n"
                                 "<Category Name='it&apos;s &lt;&quot;&amp;&quot;&gt;'>\n"
                                 "<pFeature>&lt;n&apos;&gt;</pFeature>\n<pFeature>e&amp;</pFeature>\n"
                                 "<pFeature>s&gt;\u00b5</pFeature>\n</Category>\n"
                                 "<Port Name=\"DevicePort\"></Port>\n</RegisterDescription>\n"));
}

TEST_F(Description, WritesNumbersThatReadBack) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    information_.addFloat(category_, "", "f", 0.1, 6.02214076e23, 0.5, 0, 1, "", 1);
    information_.addFloat(category_, "", "g", -infinity, infinity, 0.0, 1, 1, "", 2);
    information_.addWideInteger(category_, "", "w", 0, std::numeric_limits<std::uint64_t>::max(), 1, 1, 1, "", 3);
    EXPECT_THAT(xml(), HasSubstr("<Min>0.1</Min>\n<Max>6.02214076e+23</Max>\n</Float>\n"
                                 "<FloatReg Name=\"f_Reg\">\n<Address>1</Address>\n<Length>8</Length>\n"
                                 "<AccessMode></AccessMode>\n"));
    EXPECT_THAT(xml(), HasSubstr("<Min>-INF</Min>\n<Max>INF</Max>\n"));
    EXPECT_THAT(xml(), HasSubstr("<Min>0</Min>\n<Max>18446744073709551615</Max>\n<Inc>1</Inc>\n"));
}

TEST_F(Description, IndexedParametersHaveASelector) {
    information_.addInteger(category_, "", "table", 0, 4095, 1, 7, 1, "", 1).elementCount = 16;
    EXPECT_THAT(xml(), HasSubstr("</Integer>\n<Integer Name='table_Selector'>\n<Value>0</Value>\n<Min>0</Min>\n"
                                 "<Max>15</Max>\n<Inc>1</Inc>\n<pSelect>table_Reg</pSelect>\n</Integer>\n"
                                 "<IntReg Name=\"table_Reg\">\n"));
}

TEST_F(Description, LeavesOutTheCategoryOfDirectRegistersByItsExactName) {
    CategoryNode& registers = information_.addCategory(information_.root(), "Direct Register Access");
    CategoryNode& similar = information_.addCategory(information_.root(), "Direct Register Access 2");
    information_.addInteger(registers, "", "hidden", 0, 1, 1, 7, 1, "", 1);
    information_.addInteger(similar, "", "seen", 0, 1, 1, 7, 1, "", 2);
    EXPECT_THAT(xml(), Not(HasSubstr("hidden")));
    EXPECT_THAT(xml(), HasSubstr("<Category Name='Direct Register Access'>\n</Category>\n"));
    EXPECT_THAT(xml(), HasSubstr("<pFeature>seen</pFeature>\n"));
}

TEST_F(Description, EntryTextsAreCutAt255Bytes) {
    ParameterNode& choice = information_.addEnumeration(category_, "", "e", 1, "", 1);
    Information::addEntry(choice, std::string(300, 'x'), 0, "long");
    Information::addEntry(choice, std::string(254, 'x') + "\u00b5", 1, "whole characters");
    EXPECT_EQ(choice.entries[0].text, std::string(255, 'x'));
    EXPECT_EQ(choice.entries[1].text, std::string(254, 'x'));
}

// Groups of a design often have the same name, or one that a fixed category has.
TEST_F(Description, DesignGroupsGetCategoriesThatCanBeToldApart) {
    const DesignParameterDescription limits{1.5, 1e30,   std::numeric_limits<double>::quiet_NaN(), 7, "\xB5s",
                                            0,   nullptr};
    const DesignNode known{"a", DESIGN_NODE_INTEGER, 0, nullptr, &limits};
    const DesignNode unselected{"b", DESIGN_NODE_INTEGER, 0, nullptr, &limits};
    const DesignNode bare{"c", DESIGN_NODE_FLOAT, 0, nullptr, nullptr};
    const DesignNode* members[] = {&known, &unselected, nullptr, &bare};
    const DesignNode inner{"Root", DESIGN_NODE_GROUP, 4, members, nullptr};
    const DesignNode* inners[] = {&inner, &inner};
    const DesignNode outer{"ROI", DESIGN_NODE_GROUP, 2, inners, nullptr};
    const DesignNode* outers[] = {&outer};
    const DesignNode tree{"", DESIGN_NODE_GROUP, 1, outers, nullptr};
    parameters::Registry registry;
    registry.addDirectDesign("DZEA_a", 2000001);
    registry.addDirectDesign("DZEA_c", 2000003);
    information_.addCategory(information_.root(), "ROI");
    description::direct_access::describeDesignParameters(information_, registry, &tree);

    std::vector<std::string> categories;
    for (const CategoryNode& category : information_.categories()) {
        categories.push_back(category.name);
    }
    EXPECT_THAT(categories,
                testing::ElementsAre("Root", category_.name, "ROI", "Direct ZE Access", "Direct ZE Access_ROI",
                                     "Direct ZE Access_ROI_Root", "Direct ZE Access_Direct ZE Access_ROI_Root"));
    EXPECT_THAT(informationText(*information_.find(2000001)),
                HasSubstr("Kind: integer\nAccess: 7\nLevel: 1\nMinimum: 1\nMaximum: 9223372036854775807\nIncrement: 0\n"
                          "Unit: \u00b5s\n"));
    EXPECT_THAT(informationText(*information_.find(2000003)), HasSubstr("Kind: floating point\nAccess: 1\n"));
    description::direct_access::describeDesignParameters(information_, registry, nullptr);
}

} // namespace
} // namespace qelm::test
