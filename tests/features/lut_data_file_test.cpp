// Lookup-table files as text: the bytes that are written, and what is made of orderly and of disorderly ones.

#include "features/lut_data_file.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

namespace qelm::test {
namespace {

using namespace features;

using testing::ElementsAre;

const std::string keysOf3 = "id=3;\nnrOfElements=3;\nformat=0;\nnumber=0;\n";

LutData table(std::vector<std::uint32_t> entries) {
    const auto count = static_cast<std::uint32_t>(entries.size());
    return {.data = std::move(entries), .nrOfElements = count};
}

LutData readGray(std::string text) {
    return LutDataFile(std::move(text)).readGray();
}

TEST(LutDataFileTest, WritersKeepTheirLayouts) {
    LutDataFile gray;
    gray.writeGray(table({0, 4095, 0xFFFFFFFF}));
    EXPECT_EQ(gray.text(), "# Lut data file v1.1\n\n\n\n[gray]\n\n" + keysOf3 + "0,0;\n1,4095;\n2,-1;\n");

    LutDataFile color;
    LutData red = table({7, 8, 9});
    red.id = 12;
    red.number = 200;
    color.writeColor(red, table({1, 2, 3}), table({4, 5, 6}));
    EXPECT_EQ(color.text(), "# Lut data file v1.1\n\n[red]\n\nid=12;\nnrOfElements=3;\nformat=0;\nnumber=200;\n"
                            "0,7;\n1,8;\n2,9;\n\n\n[green]\n\n" +
                                keysOf3 + "0,1;\n1,2;\n2,3;\n\n\n[blue]\n\n" + keysOf3 + "0,4;\n1,5;\n2,6;\n");

    LutDataFile knee;
    knee.writeKnee("[gray]", std::vector<double>{0.0, -0.5, 1e20});
    EXPECT_EQ(knee.text(), "# KneeLut data file v1.0\n\n[gray]\n\n0,0.000000000000;\n1,-0.500000000000;\n"
                           "2,100000000000000000000.000000000000;\n");

    LutDataFile kneeColor;
    kneeColor.writeKneeColor(std::vector<double>{1}, std::vector<double>{2}, std::vector<double>{3});
    EXPECT_EQ(kneeColor.text(), "# KneeLut data file v1.1\n\n[red]\n\n0,1.000000000000;\n\n\n[green]\n\n"
                                "0,2.000000000000;\n\n\n[blue]\n\n0,3.000000000000;\n");

    LutDataFile plain;
    plain.writePlain("# some table\n", std::vector<std::uint32_t>{5, 6});
    EXPECT_EQ(plain.text(), "# some table\nnrOfElements=2;\n0,5;\n1,6;\n");

    LutDataFile keys;
    keys.writeDoubleKey("gain", 1.0 / 3);
    keys.writeDoubleKey("large", 1.5e300);
    keys.writeDoubleKey("whole", 4095.0);
    EXPECT_EQ(keys.text(), "gain=0.333333333333;\nlarge=1.5e+300;\nwhole=4095;\n");
}

TEST(LutDataFileTest, WhatIsWrittenIsReadAgain) {
    std::vector<std::uint32_t> entries(5000);
    std::mt19937 random(3);
    std::ranges::generate(entries, [&] { return static_cast<std::uint32_t>(random()) >> random() % 32; });
    LutDataFile gray;
    gray.writeGray(table(entries));
    EXPECT_EQ(gray.readGray().data, entries);

    LutDataFile color;
    color.writeColor(table({7, 8}), table({9, 10}), table({11, 12}));
    LutData red, green, blue;
    color.readColor(red, green, blue);
    EXPECT_THAT(red.data, ElementsAre(7, 8));
    EXPECT_THAT(green.data, ElementsAre(9, 10));
    EXPECT_THAT(blue.data, ElementsAre(11, 12));

    const std::vector<double> values = {0.25, -3.5, 1e18};
    LutDataFile knee;
    knee.writeKneeColor(values, values, values);
    std::vector<double> kneeRed, kneeGreen, kneeBlue;
    knee.readKneeColor(3, kneeRed, kneeGreen, kneeBlue);
    EXPECT_EQ(kneeRed, values);
    EXPECT_EQ(kneeBlue, values);
    EXPECT_EQ(LutDataFile("[gray]\n0,1e999;\n1,-1e999;\n2,1e-999;\n3,+.5;\n4,x;\n").readKnee("[gray]", 6),
              (std::vector<double>{HUGE_VAL, -HUGE_VAL, 0.0, 0.5, 0.0, 0.0}));
}

TEST(LutDataFileTest, LinesInDisorderAreReadAsTheyMatch) {
    const std::string head = "nrOfElements=6;\n[gray]\n";
    const struct {
        const char* what;
        std::string text;
        std::vector<std::uint32_t> expected;
    } cases[] = {
        {"a missing line takes the next one that ends alike",
         head + "0,1;\n1,2;\n2,3;\n4,4;\n13,5;\n4,6;\n5,7;\n",
         {1, 2, 3, 5, 6, 7}},
        {"a doubled line counts once", head + "0,1;\n0,9;\n1,2;\n1,9;\n2,3;\n", {1, 2, 3}},
        {"reordered lines wait for their number", head + "1,9;\n0,1;\n2,8;\n1,2;\n", {1, 2}},
        {"lines before the section do not count", "nrOfElements=6;\n0,9;\n[gray]\n0,1;\n", {1}},
        {"the section's own line counts", "nrOfElements=6;\n[gray] 0,5;\n1,6;\n", {5, 6}},
        {"later sections do not end it", head + "0,1;\n[red]\n1,2;\n", {1, 2}},
        {"no section", "nrOfElements=6;\n0,1;\n", {}},
        {"carriage returns", "nrOfElements=6;\r\n[gray]\r\n0,1;\r\n1,2;\r\n", {1, 2}},
        {"the last line without an end", head + "0,1;\n1,2", {1, 2}},
        {"values as the C library reads them",
         head + "0, 12x;\n1,-1;\n2,+3;\n3,;\n4,\n5,99999999999;\n",
         {12, 0xFFFFFFFF, 3, 0, 0, 0x7FFFFFFF}},
        {"neighbouring commas are one", head + "0,,7;\n,1,8;\n", {7, 8}},
        {"the second token is the value, wherever the number stands", head + "9,0,5;\n", {0}},
        {"a zero byte ends a line",
         head + std::string("0,1\0\n1,\0"
                            "2;\n\0"
                            "2,3;\n2,4;\n",
                            22),
         {1, 0, 4}},
        {"a long line is several", head + std::string(254, ' ') + "0,1;\n0,2;\n", {2}},
        {"and each piece counts", head + std::string(253, ' ') + "0,1,1;\n", {0, 1}},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(readGray(one.text).data, one.expected) << one.what;
    }
}

TEST(LutDataFileTest, KeysAreFoundAnywhere) {
    const struct {
        const char* text;
        std::uint32_t id, count, format, number;
    } cases[] = {
        {"", 0, 0, 0, 0},
        {"number=513;\nformat=2;\nnrOfElements=4;\nid=7;\n", 7, 4, 2, 1}, // the number has 8 bits
        {"# an idle remark\nid=7;\n", 0, 0, 0, 0},                        // the first line with the letters decides
        {"grid='12';\nid=7;\n", 12, 0, 0, 0},
        {"id='5';\nnrOfElements ==' 6';\n", 5, 6, 0, 0},
        {"nrOfElements=-1;\n", 0, 0xFFFFFFFF, 0, 0},
    };
    for (const auto& one : cases) {
        const LutData read = readGray(one.text);
        EXPECT_EQ(read.id, one.id) << one.text;
        EXPECT_EQ(read.nrOfElements, one.count) << one.text;
        EXPECT_EQ(read.format, one.format) << one.text;
        EXPECT_EQ(read.number, one.number) << one.text;
    }
}

/** The described matching, line by line, with a search on each: what the quick way must come to. */
std::vector<std::uint32_t> readSlowly(const std::string& text, std::uint32_t count) {
    std::vector<std::uint32_t> entries;
    bool inside = false;
    for (std::size_t start = 0; start < text.size() && entries.size() < count;) {
        std::string line = text.substr(start, 255);
        line = line.substr(0, line.find('\n') == std::string::npos ? line.size() : line.find('\n') + 1);
        start += line.size();
        line = line.c_str();
        inside = inside || line.find("[gray]") != std::string::npos;
        if (inside && line.find(std::to_string(entries.size()) + ",") != std::string::npos) {
            const char* second = std::strtok(line.data(), ",") == nullptr ? nullptr : std::strtok(nullptr, ",");
            const long long value = second == nullptr ? 0 : std::strtoll(second, nullptr, 10);
            entries.push_back(static_cast<std::uint32_t>(std::clamp(value, -2147483648LL, 2147483647LL)));
        }
    }
    return entries;
}

TEST(LutDataFileTest, ShuffledTextsReadAsLineByLine) {
    std::mt19937 random(9);
    for (int round = 0; round < 3000; ++round) {
        std::string text = "nrOfElements=40;\n[gray]\n";
        for (std::uint32_t i = 0; i < 60; ++i) {
            std::string line = std::to_string(i) + "," + std::to_string(random() % 5000) + ";\n";
            switch (random() % 24) {
            case 0:
                line.clear();
                break;
            case 1:
                line += line;
                break;
            case 2:
                line[random() % line.size()] = static_cast<char>(random() % 256);
                break;
            case 3:
                line.insert(random() % line.size(), std::string(random() % 300, " 1,\n;"[random() % 5]));
                break;
            default:
                break;
            }
            text += line;
        }
        ASSERT_EQ(readGray(text).data, readSlowly(text, 40)) << text;
    }
}

} // namespace
} // namespace qelm::test
