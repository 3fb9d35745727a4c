// The configuration file's reader and writer: exact bytes, the rules of look-ups, and files that nobody would write.

#include "support/temporary_folder.h"

#include "persistence/fg_config_file_parser.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <gmock/gmock.h>

#include <tuple>

namespace qelm::test {
namespace {

using namespace persistence;
using configuration::ConfigurationText;

using testing::HasSubstr;

constexpr std::int32_t notFound = FG_ERROR_KEY_NOT_FOUND;

class ConfigurationFileTest : public testing::Test {
  protected:
    /** A parser that reads the text given. */
    Fg_ConfigFileParser& reading(const std::string& bytes) {
        folder_.write("setup.kcf", bytes);
        return parser_.emplace(nullptr, file_.c_str(), true);
    }

    test::TemporaryFolder folder_;
    const std::string file_ = folder_.file("setup.kcf");
    std::optional<Fg_ConfigFileParser> parser_;
};

TEST_F(ConfigurationFileTest, WritesExactBytesAndReadsThemBack) {
    Fg_ConfigFileParser writer(nullptr, nullptr, false);
    ASSERT_TRUE(writer.setSaveFile(file_.c_str()));
    writer.writeConfigFileHeader();
    EXPECT_FALSE(std::filesystem::exists(file_)) << "it is put in place as a whole";
    writer.writeConfigFile("Typ", "it's; a=b");
    writer.writeConfigFileIntKey("AktivePort", -7);
    writer.writePortSection(0);
    writer.writePortSection(1);
    writer.writeConfigFileValue("FG_A", "");
    writer.writeConfigFileUInt64Key("FG_B", 18446744073709551615u);
    writer.wrtiteConfigFileDoubleKey("FG_C", 1.0 / 3.0);
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(test::readText(file_), "[Kamerasektion]\n\nConfigFileVersion=2.0;\nTyp='it's; a=b';\nAktivePort=-7;\n"
                                     "\n[Port A]\n\n[Port B]\nFG_A=;\nFG_B=18446744073709551615;\n"
                                     "FG_C=0.333333333333;\n");
    Fg_ConfigFileParser reader(nullptr, file_.c_str(), true);
    std::int32_t integer = 0;
    std::uint64_t wide = 0;
    double number = 0.0;
    std::string text = "before";
    EXPECT_EQ(reader.parseIntKeyFromHeader("AktivePort", integer), 0);
    EXPECT_EQ(integer, -7);
    EXPECT_EQ(reader.parsePortUInt64Key(1, "FG_B", wide), 0);
    EXPECT_EQ(wide, 18446744073709551615u);
    EXPECT_EQ(reader.parsePortDoubleKey(0, "FG_C", number), 0);
    EXPECT_EQ(number, 0.333333333333);
    EXPECT_EQ(reader.parsePortKey(1, "FG_A", text), 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(reader.parsePortIntKey(2, "FG_B", integer), -1);
    EXPECT_EQ(reader.parsePortIntKey(0, nullptr, integer), -1);
    EXPECT_EQ(reader.parsePortKey(0, nullptr, text), -1);
    EXPECT_EQ(reader.parsePortUInt64Key(0, nullptr, wide), -1);
    EXPECT_EQ(reader.parsePortDoubleKey(0, nullptr, number), -1);
}

TEST_F(ConfigurationFileTest, HeaderKeysAreFoundAnywhereInALine) {
    const struct {
        const char* line;
        const char* value;
    } cases[] = {
        {"Prototyp=1;\nProtoTyp='first';\nTyp='second';\n", "first"},
        {"Typ='a;b';\n", "a;b"},
        {"Typ=bare;\n", "bare;\n"}, // only "=" and "'" split
        {"Typ='';\n", ";\n"},
        {"=''Typ='x'\n", "x"}, // delimiters in front do not count
        {"Typ", ""},
        {"a='Typ'", "Typ"},
    };
    for (const auto& [line, value] : cases) {
        std::string text = "before";
        EXPECT_EQ(reading(line).parseKeyFromLine("Typ", text), 0) << line;
        EXPECT_EQ(text, value) << line;
    }
    std::string text = "0123456";
    EXPECT_EQ(reading("typ='x';\n").parseKeyFromLine("Typ", text), notFound);
    EXPECT_EQ(text, "Error56"); // five characters, and no more
}

TEST_F(ConfigurationFileTest, SectionKeysStandAtTheStartOfLinesBehindTheSection) {
    const struct {
        const char* file;
        std::int32_t result;
        const char* value;
    } cases[] = {
        {"[Port A]\nFG_W=1;\n", 0, "1"},
        {"[Port A]\nFG_WIDTH=1;\nFG_W=2;\n", 0, "2"},
        {"[Port A]\nXFG_W=1;\n FG_W=2;\n", notFound, "Error"},
        {"[Port A]\nFG_W =1;\n", notFound, "Error"},
        {"[Port A]\nFG_W=1;\nFG_W=2;\n", 0, "1"}, // the first counts
        {"FG_W=1;\n[Port A]\nFG_W=2;\n", 0, "2"}, // not before the section
        {"FG_W=1;\n[Port A]\n", notFound, "Error"},
        {"[Port A]\n[Port B]\nFG_W=3;\n", 0, "3"}, // sections do not end
        {"[Port B]\nFG_W=3;\n", notFound, "Error"},
        {"x [Port A] y\nFG_W=3;\n", 0, "3"},      // anywhere in its line
        {"[Port A]FG_W=3;\n", notFound, "Error"}, // not in its line
        {"[Port A]\nFG_W=2;\n[Port A]\nFG_W=3;\n", 0, "2"},
        {"[Port A]\nFG_W=5", 0, "5"},
        {"[Port A]\nFG_W=", 0, ""},
        {"[Port A]\nFG_W='';\n", 0, ""},
        {"[Port A]\nFG_W='a b';\n", 0, "a b"},
        {"[Port A]\nFG_W='a'b;c';\n", 0, "a"},
        {"[Port A]\nFG_W=;7\n", 0, "7\n"},
        {"[Port A]\r\nFG_W=5;\r\n", 0, "5"},
        {"[Port A]\r\nFG_W=\r\nx", 0, ""},
        {"[Port A]\rFG_W=5;\r", notFound, "Error"}, // only in front of a line feed
        {"[Port A]\r\n\r\nFG_W=5", 0, "5"},         // nothing is left behind the end
        {"", notFound, "Error"},
    };
    for (const auto& [file, result, value] : cases) {
        std::string text;
        EXPECT_EQ(reading(file).parseKey("[Port A]", "FG_W", text), result) << file;
        EXPECT_EQ(text, value) << file;
    }
}

TEST_F(ConfigurationFileTest, TheHeaderSectionEndsItsLine) {
    std::int32_t port = 9;
    EXPECT_EQ(reading("[Kamerasektion]\nAktivePort=3;\n").parseIntKeyFromHeader("AktivePort", port), 0);
    EXPECT_EQ(port, 3);
    EXPECT_EQ(reading("[Kamerasektion]\r\nAktivePort=4;\r\n").parseIntKeyFromHeader("AktivePort", port), 0);
    EXPECT_EQ(port, 4);
    EXPECT_EQ(reading("[Kamerasektion] \nAktivePort=3;\n").parseIntKeyFromHeader("AktivePort", port), -1);
    EXPECT_EQ(reading("[Kamerasektion]").parseIntKeyFromHeader("AktivePort", port), -1);
    EXPECT_EQ(port, 4);
}

TEST_F(ConfigurationFileTest, LinesAreReadInPiecesOf255Characters) {
    const std::string section = "[Port A]\n";
    const struct {
        std::string line;
        std::int32_t result;
        std::string value;
    } cases[] = {
        {std::string(255, 'x') + "FG_W=1;\n", 0, "1"},
        {std::string(254, 'x') + "FG_W=1;\n", notFound, "Error"},
        {std::string(510, 'x') + "FG_W=1;\n", 0, "1"},
        {"FG_W=" + std::string(300, '7') + ";\n", 0, std::string(250, '7')},
        {std::string(254, 'x') + "\nFG_W=1;\n", 0, "1"},
        {std::string(255, 'x') + "\nFG_W=1;\n", 0, "1"}, // the line feed alone is a piece
        {std::string(std::size_t{1} << 20, 'x') + "\nFG_W=1;\n", 0, "1"},
        {std::string("a\0FG_W=2;\nFG_W=1\0;x\n", 20), 0, "1"}, // a zero byte hides the rest of its line
        {std::string("FG_\0W=2;\n", 9), notFound, "Error"},
        {std::string(254, '\r') + "\r\nFG_W=1;\n", 0, "1"},
    };
    for (const auto& [line, result, value] : cases) {
        std::string text;
        EXPECT_EQ(reading(section + line).parsePortKey(0, "FG_W", text), result) << line.substr(0, 20);
        EXPECT_EQ(text, value);
    }
}

TEST_F(ConfigurationFileTest, NumbersStopWhereTheyEnd) {
    const struct {
        const char* text;
        std::int32_t integer;
        std::uint64_t wide;
        double number;
    } cases[] = {
        {"12abc", 12, 12, 12.0},
        {" -3", -3, 18446744073709551613u, -3.0},
        {"+4", 4, 4, 4.0},
        {"0x10", 0, 0, 0.0},
        {"1.75", 1, 1, 1.75},
        {"abc", 0, 99, 0.0}, // the wide destination stays
        {"4294967808", 2147483647, 4294967808u, 4294967808.0},
        {"-4294967808", -2147483647 - 1, 18446744069414583808u, -4294967808.0},
        {"99999999999999999999", 2147483647, 18446744073709551615u, 1e20},
    };
    for (const auto& [text, integer, wide, number] : cases) {
        auto& parser = reading(std::string("[Port A]\nK=") + text + ";\n");
        std::int32_t readInteger = 98;
        std::uint64_t readWide = 99;
        double readNumber = 97.0;
        EXPECT_EQ(parser.parsePortIntKey(0, "K", readInteger), 0) << text;
        EXPECT_EQ(parser.parsePortUInt64Key(0, "K", readWide), 0) << text;
        EXPECT_EQ(parser.parsePortDoubleKey(0, "K", readNumber), 0) << text;
        EXPECT_EQ(readInteger, integer) << text;
        EXPECT_EQ(readWide, wide) << text;
        EXPECT_EQ(readNumber, number) << text;
    }
}

TEST_F(ConfigurationFileTest, AValueThatHoldsErrorIsNoNumber) {
    auto& parser = reading("[Port A]\nK=5Errors;\n");
    std::int32_t integer = 98;
    std::uint64_t wide = 99;
    double number = 97.0;
    std::string text;
    EXPECT_EQ(parser.parsePortIntKey(0, "K", integer), -1);
    EXPECT_EQ(parser.parsePortUInt64Key(0, "K", wide), -1);
    EXPECT_EQ(parser.parsePortDoubleKey(0, "K", number), -1);
    EXPECT_EQ(std::tuple(integer, wide, number), std::tuple(98, 99u, 97.0));
    EXPECT_EQ(parser.parsePortKey(0, "K", text), 0);
    EXPECT_EQ(text, "5Errors");
}

TEST_F(ConfigurationFileTest, TypeAndExistenceDecideWhatIsOpened) {
    folder_.write("setup.kcf", "[Port A]\nK=1;\n");
    std::filesystem::copy_file(file_, folder_.file("setup.kcf.bak"));
    std::filesystem::copy_file(file_, folder_.file("setup.txt"));
    const struct {
        const char* name;
        bool typed;
        bool exists;
    } cases[] = {
        {"setup.kcf", true, true}, {"setup.kcf.bak", true, true}, {"setup.txt", false, true},
        {"no.kcf", true, false},   {"setup.KCF2", false, false},
    };
    for (const auto& [name, typed, exists] : cases) {
        const std::string path = folder_.file(name);
        Fg_ConfigFileParser parser(nullptr, path.c_str(), true);
        EXPECT_EQ(parser.checkFileType(path.c_str()), typed) << name;
        EXPECT_EQ(parser.checkFileExist(path.c_str()), exists) << name;
        std::int32_t value = 0;
        EXPECT_EQ(parser.parsePortIntKey(0, "K", value), typed && exists ? 0 : -1) << name;
    }
    Fg_ConfigFileParser parser(nullptr, nullptr, true);
    EXPECT_FALSE(parser.checkFileType(nullptr));
    EXPECT_FALSE(parser.checkFileExist(nullptr));
    std::string text;
    EXPECT_EQ(parser.parseKeyFromLine("K", text), notFound);
}

TEST_F(ConfigurationFileTest, FailuresToSaveAreLogged) {
    const std::string logFile = folder_.file("log.txt");
    DllLog log(std::fopen(logFile.c_str(), "w"));
    Fg_ConfigFileParser parser(&log, nullptr, false);
    EXPECT_FALSE(parser.setSaveFile(folder_.file("setup.txt").c_str()));
    EXPECT_FALSE(parser.setSaveFile(folder_.file("none/setup.kcf").c_str()));
    EXPECT_FALSE(parser.setSaveFile(nullptr));
    EXPECT_EQ(test::readText(logFile), "korabitIV::Error >> Config File is Invalid;\n"
                                       "korabitIV::Error >> Config File: fopen failed;\n"
                                       "korabitIV::Error >> Config File is Invalid;\n");
    EXPECT_FALSE(std::filesystem::exists(folder_.file("setup.txt")));
    parser.writeConfigFileHeader(); // without a file: nothing
    EXPECT_TRUE(parser.setSaveFile(file_.c_str()));
    EXPECT_FALSE(parser.setSaveFile(folder_.file("setup.txt").c_str())) << "open already, and still no name for one";
    EXPECT_FALSE(parser.setSaveFile(nullptr));
    parser.writeConfigFileIntKey("K", 1);
    EXPECT_TRUE(parser.close());
    EXPECT_EQ(test::readText(file_), "K=1;\n") << "the file that was open stayed so";
}

TEST_F(ConfigurationFileTest, AFileThatIsNotClosedLeavesTheOlderOneAndNothingBesideIt) {
    folder_.write("setup.kcf", "older");
    {
        Fg_ConfigFileParser parser(nullptr, nullptr, false);
        ASSERT_TRUE(parser.setSaveFile(file_.c_str()));
        parser.writeConfigFileHeader();
        EXPECT_EQ(folder_.read("setup.kcf"), "older");
    }
    EXPECT_EQ(folder_.read("setup.kcf"), "older");
    EXPECT_EQ(folder_.files(), (std::vector<std::string>{"setup.kcf"}));
}

TEST_F(ConfigurationFileTest, AFileOpenToBeChangedShowsWhatWasWritten) {
    folder_.write("setup.kcf", "[Port A]\nK=1;\n");
    Fg_ConfigFileParser parser(nullptr, file_.c_str(), false);
    std::int32_t value = 0;
    EXPECT_EQ(parser.parsePortIntKey(0, "L", value), -1);
    parser.writeConfigFileIntKey("L", 2);
    EXPECT_EQ(parser.parsePortIntKey(0, "L", value), 0);
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(parser.close());
    EXPECT_EQ(test::readText(file_), "[Port A]\nK=1;\nL=2;\n");
    Fg_ConfigFileParser readOnly(nullptr, file_.c_str(), true);
    readOnly.writeConfigFileIntKey("M", 3);
    EXPECT_FALSE(readOnly.close());
}

TEST_F(ConfigurationFileTest, FilesBeyondTheLimitAndFoldersHoldNothing) {
    const std::string good = "[Port A]\nK=1;\n";
    std::int32_t value = 0;
    EXPECT_EQ(
        reading(good + std::string(ConfigurationText::largestText - good.size(), ' ')).parsePortIntKey(0, "K", value),
        0);
    EXPECT_EQ(reading(good + std::string(ConfigurationText::largestText, ' ')).parsePortIntKey(0, "K", value), -1);
    const std::string folder = folder_.file("folder.kcf");
    std::filesystem::create_directory(folder);
    EXPECT_EQ(Fg_ConfigFileParser(nullptr, folder.c_str(), true).parsePortIntKey(0, "K", value), -1);
    parser_.reset();
}

} // namespace
} // namespace qelm::test
