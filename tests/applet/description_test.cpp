// What the applet tells about its parameters, by text and by GenApi document, and the parameters of direct access.

#include "expected_parameters.h"
#include "fixture.h"

#include "qelm/host/descriptions.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <thread>

namespace qelm::test {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

/** Sets the switches of direct access for boards that start while it lives. */
class Switches {
  public:
    Switches(const char* registers, const char* design) {
        host::setEnvironment("QELM_ENABLE_DRA", registers);
        host::setEnvironment("QELM_ENABLE_DZEA", design);
    }
    ~Switches() {
        host::setEnvironment("QELM_ENABLE_DRA", nullptr);
        host::setEnvironment("QELM_ENABLE_DZEA", nullptr);
    }
    Switches(const Switches&) = delete;
    Switches& operator=(const Switches&) = delete;
};

std::vector<std::string> names(const Board& board) {
    std::vector<std::string> all;
    for (std::int32_t index = 0; index < board.applet()->Fg_getNrOfParameter(board); ++index) {
        all.emplace_back(board.applet()->Fg_getParameterName(board, index));
    }
    return all;
}

std::string information(const Board& board, std::int32_t id) {
    const char* text = board.applet()->Fg_getParameterInfo(board, id);
    return text == nullptr ? "" : text;
}

/** The texts between two marks. */
std::vector<std::string> between(const std::string& text, const std::string& begin, const std::string& end) {
    std::vector<std::string> found;
    for (size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
        at += begin.size();
        found.push_back(text.substr(at, text.find(end, at) - at));
    }
    return found;
}

class Description : public BoardTest {};

TEST_F(Description, DocumentIsTheOneOnFile) {
    std::ifstream file(QELM_TEST_DATA "/parameters.xml");
    const std::string expected(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(host::readDescriptionXml(board_), expected) << "when the change is meant: scripts/refresh-descriptions";
}

TEST_F(Description, BufferIsFilledOnlyWhenItHasRoom) {
    size_t needed = 0;
    const auto ask = [&](char* buffer, size_t* size) {
        return applet_->Fg_getParameterInfoXML(board_, 0, buffer, size);
    };
    EXPECT_EQ(ask(nullptr, nullptr), -2070);
    EXPECT_EQ(lastError(board_), -2070);
    ASSERT_EQ(ask(nullptr, &needed), 0);
    EXPECT_EQ(lastError(board_), 0);
    ASSERT_GT(needed, 1000U);

    std::vector<char> buffer(needed + 10, '#');
    for (const size_t room : {size_t{0}, size_t{1}, needed - 1}) {
        size_t size = room;
        EXPECT_EQ(ask(buffer.data(), &size), -2070) << room;
        EXPECT_EQ(size, needed);
        EXPECT_EQ(lastError(board_), -2070);
        EXPECT_EQ(buffer.front(), '#');
    }
    for (const size_t room : {needed, needed + 10}) {
        buffer.assign(buffer.size(), '#');
        size_t size = room;
        EXPECT_EQ(ask(buffer.data(), &size), 0) << room;
        EXPECT_EQ(size, needed);
        EXPECT_EQ(std::strlen(buffer.data()), needed - 1);
        EXPECT_EQ(buffer[needed], '#');
    }
    BoardStructure none{};
    EXPECT_EQ(applet_->Fg_getParameterInfoXML(&none, 0, nullptr, &needed), -2001);
}

/** What Fg_getParameterInfo has to answer; nothing for what user interfaces leave out. */
std::string expectedInformation(const ExpectedParameter& parameter) {
    const auto* const row =
        std::ranges::find(expectedDescriptions, std::string_view(parameter.name),
                          [](const ExpectedDescription& one) { return std::string_view(one.name); });
    if (row == std::end(expectedDescriptions)) {
        return "";
    }
    const std::string_view kind = row->kind;
    std::ostringstream text;
    text << "Name: " << row->name << "\nDisplay name: " << row->displayName << "\nCategory: " << row->category
         << "\nIdentifier: " << parameter.id << "\nKind: " << kind << "\nAccess: " << row->access
         << "\nLevel: " << row->level << '\n';
    if (kind == "enumeration") {
        for (const ExpectedEntry& entry : expectedEntries) {
            if (entry.enumeration == std::string_view(row->particulars)) {
                text << "Entry: " << entry.name << " = " << entry.value << " (" << entry.text << ")\n";
            }
        }
    } else if (kind == "file name") {
        text << "Filter: " << row->particulars << '\n';
    } else {
        std::istringstream limits(row->particulars);
        std::string minimum, maximum, increment;
        limits >> minimum >> maximum >> increment;
        text << "Minimum: " << minimum << "\nMaximum: " << maximum << "\nIncrement: " << increment << '\n';
    }
    for (const auto& [key, value] : {std::pair("Unit", row->unit), std::pair("Description", parameter.description)}) {
        if (*value != '\0') {
            text << key << ": " << value << '\n';
        }
    }
    return text.str();
}

TEST_F(Description, EveryTextIsTheOneThatCallersKnow) {
    size_t described = 0;
    for (const ExpectedParameter& row : expectedParameters) {
        const std::string expected = expectedInformation(row);
        EXPECT_EQ(information(board_, row.id), expected);
        described += expected.empty() ? 0U : 1U;
    }
    EXPECT_EQ(described, std::size(expectedDescriptions));
    for (const std::int32_t id : {0, -1, 1000008, 2400002}) {
        EXPECT_EQ(applet_->Fg_getParameterInfo(board_, id), nullptr) << id;
    }
}

TEST_F(Description, LimitsFollowTheSetters) {
    ASSERT_EQ(board_.set(FG_CAMERA_WIDTH, 4096U), 0);
    ASSERT_EQ(board_.set(FG_WIDTH, 512U), 0);
    EXPECT_THAT(information(board_, FG_XOFFSET), HasSubstr("Maximum: 3584\n"));
    EXPECT_THAT(host::readDescriptionXml(board_), HasSubstr("<pValue>FG_XOFFSET_Reg</pValue>\n<Min>0</Min>\n"
                                                            "<Max>3584</Max>\n<Inc>16</Inc>\n</Integer>\n"));
}

TEST_F(Description, AnyNumberOfThreadsMayAskWhileLimitsMove) {
    std::atomic<bool> done = false;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 3; ++reader) {
        readers.emplace_back([&] {
            do {
                const char* width = applet_->Fg_getParameterInfo(board_, FG_WIDTH);
                EXPECT_THAT(information(board_, FG_XOFFSET), HasSubstr("Name: FG_XOFFSET\n"));
                EXPECT_THAT(std::string(width), HasSubstr("Name: FG_WIDTH\n")) << "stays";
                EXPECT_THAT(host::readDescriptionXml(board_), testing::EndsWith("</RegisterDescription>\n"));
            } while (!done);
        });
    }
    for (std::uint32_t width = 16; width <= 1024; width += 16) {
        EXPECT_EQ(board_.set(FG_WIDTH, width), 0);
    }
    done = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
}

TEST_F(Description, TextsStayWhoeverAsksAfterwards) {
    const char* first = applet_->Fg_getParameterInfo(board_, FG_XOFFSET);
    const std::string copy = first;
    for (std::uint32_t width = 16; width < 1024; width += 16) {
        ASSERT_EQ(board_.set(FG_WIDTH, width), 0);
        std::thread([&] { EXPECT_NE(applet_->Fg_getParameterInfo(board_, FG_XOFFSET), first); }).join();
    }
    EXPECT_NE(information(board_, FG_XOFFSET), copy) << "told anew each time";
    EXPECT_EQ(first, copy);
}

TEST(DirectAccess, DocumentHoldsTogetherWhateverIsSwitchedOn) {
    const Applet applet;
    for (const bool registers : {false, true}) {
        for (const bool design : {false, true}) {
            SCOPED_TRACE(testing::Message() << "registers " << registers << ", design " << design);
            const Switches switches(registers ? "on" : "off", design ? "on" : "off");
            const Board board(applet);
            const std::string xml = host::readDescriptionXml(board);
            std::vector<std::string> written = between(xml, " Name=\"", "\"");
            for (const std::string& name : between(xml, " Name='", "'")) {
                written.push_back(name);
            }
            const std::set<std::string> defined(written.begin(), written.end());
            for (const char* reference : {"pFeature", "pValue", "pPort"}) {
                for (const std::string& target :
                     between(xml, std::string("<") + reference + ">", std::string("</") + reference + ">")) {
                    EXPECT_TRUE(defined.contains(target)) << target;
                }
            }
            EXPECT_EQ(defined.contains("Direct Register Access"), registers);
            EXPECT_EQ(defined.contains("Direct ZE Access"), design);
            EXPECT_THAT(xml, Not(HasSubstr("DRA_")));
            EXPECT_EQ(defined.contains("DZEA_Device1_Process0_Camera_Format_Reg"), design);
        }
    }
}

TEST(DirectAccess, RegistersAreParametersOfTheirOwn) {
    const Applet applet;
    const Switches switches("Yes", nullptr);
    Board board(applet);
    const std::vector<std::string> all = names(board);
    const auto firstDirect = static_cast<size_t>(fixedCount);
    ASSERT_GT(all.size(), firstDirect);
    EXPECT_EQ(all[firstDirect], "DRA_DesignIdentity"); // in the design's order
    EXPECT_EQ(board.findId("DRA_FirmwareRevision"), 1000000 + 4660);
    EXPECT_EQ(applet->Fg_getParameterId(board, fixedCount), 1000008);

    EXPECT_EQ(information(board, 1004660),
              "Name: DRA_FirmwareRevision\nDisplay name: FirmwareRevision (16)\nCategory: Direct Register Access\n"
              "Identifier: 1004660\nKind: integer\nAccess: 1\nLevel: 1\nMinimum: 0\nMaximum: 65535\nIncrement: 1\n");
    EXPECT_THAT(information(board, board.findId("DRA_ScratchPad")), HasSubstr("Access: 7\nLevel: 1\nMinimum: 0\n"
                                                                              "Maximum: 4294967295\n"));
    EXPECT_THAT(information(board, board.findId("DRA_ScratchPadWide")),
                HasSubstr("Kind: 64-bit integer\nAccess: 7\nLevel: 1\nMinimum: 0\nMaximum: 18446744073709551615\n"));
    EXPECT_THAT(information(board, board.findId("DRA_AAGenFrameCounter")), HasSubstr("Maximum: 8589934591\n"));

    constexpr std::uint64_t wide = 0xFEDC'BA98'7654'3210;
    EXPECT_THAT(writesOf(board, [&] { EXPECT_EQ(board.set("DRA_ScratchPadWide", wide), 0); }),
                ElementsAre("ScratchPadWide=18364758544493064720"));
    EXPECT_EQ(board.get<std::uint64_t>("DRA_ScratchPadWide"), wide);
    EXPECT_THAT(writesOf(board, [&] { EXPECT_EQ(board.set("DRA_LedControl", 5U), 0); }), ElementsAre("LedControl=5"));
    EXPECT_EQ(board.get<std::uint32_t>("DRA_LedControl"), 5U);
    EXPECT_LT(board.set("DRA_FirmwareRevision", 1U), 0);
}

TEST(DirectAccess, DesignParametersAreListedAndDescribedByTheDesign) {
    const Applet applet;
    const Switches switches("1", "ON");
    Board board(applet);
    std::vector<std::string> all = names(board);
    auto firstDesign = static_cast<size_t>(fixedCount);
    while (firstDesign < all.size() && all[firstDesign].starts_with("DRA_")) {
        ++firstDesign;
    }
    ASSERT_LT(firstDesign, all.size());
    for (size_t index = firstDesign; index < all.size(); ++index) { // enumerated, and found in no other way
        EXPECT_THAT(all[index], testing::StartsWith("DZEA_Device1_"));
        EXPECT_EQ(applet->Fg_getParameterId(board, static_cast<std::int32_t>(index)), -2070);
        EXPECT_EQ(board.findId(all[index].c_str()), -2070);
    }
    // Breadth first: what stands higher in the tree comes first. Commands, fields, links and the like are left out.
    EXPECT_THAT(
        std::vector(all.begin() + static_cast<std::ptrdiff_t>(firstDesign),
                    all.begin() + static_cast<std::ptrdiff_t>(firstDesign) + 3),
        ElementsAre("DZEA_Device1_Info_DesignName", "DZEA_Device1_Info_DesignNumber", "DZEA_Device1_Info_Comment"));
    EXPECT_THAT(all, Not(Contains("DZEA_Device1_Clock_DesignClock")));

    std::map<std::string, std::int32_t> ids;
    for (const host::Parameter& parameter : host::registeredParameters(board)) {
        ids[parameter.name] = parameter.id;
    }
    const struct {
        const char* name;
        const char* parts[2];
    } cases[] = {
        {"DZEA_Device1_Info_Comment", {"Kind: text\nAccess: 7\n", "Category: Direct ZE Access / "}},
        {"DZEA_Device1_Sensors_TemperatureAlarmLevel",
         {"Kind: floating point\nAccess: 7\nLevel: 1\nMinimum: 40\nMaximum: 100\nIncrement: 0.5\nUnit: \u00b0C\n", ""}},
        {"DZEA_Device1_Process0_Camera_Format", {"Kind: enumeration\n", "Entry: Medium8Bit = 0 (Medium, 8 bit)\n"}},
        {"DZEA_Device1_Process0_Buffer_0_ROI_X_Length",
         {"Kind: integer\nAccess: 7\nLevel: 1\nMinimum: 16\nMaximum: 8192\nIncrement: 16\n", ""}},
        {"DZEA_Device1_Sensors_CoreVoltage", {"Access: 1\n", "Increment: 0.001\n"}},
    };
    for (const auto& [name, parts] : cases) {
        for (const char* part : parts) {
            EXPECT_THAT(information(board, ids[name]), HasSubstr(part)) << name;
        }
    }
    const std::int32_t length = ids["DZEA_Device1_Process0_Buffer_0_ROI_X_Length"];
    EXPECT_THAT(writesOf(board, [&] { EXPECT_EQ(board.set(length, 512U), 0); }),
                ElementsAre("Device1_Process0_Buffer_0_ROI_X_Length=512"));
    EXPECT_EQ(board.get<std::uint32_t>(length), 512U);
    EXPECT_EQ(board.set(length, 3U), -6000) << "the runtime's code, unchanged";
}

TEST(DirectAccess, SwitchesKnowFourWords) {
    const Applet applet;
    for (const auto& [word, counts] : std::map<std::string, bool>{{"yes", true},
                                                                  {"TRUE", true},
                                                                  {"On", true},
                                                                  {"1", true},
                                                                  {"", false},
                                                                  {"0", false},
                                                                  {"y", false},
                                                                  {"enabled", false},
                                                                  {"2", false},
                                                                  {"on ", false}}) {
        const Switches registers(word.c_str(), nullptr);
        EXPECT_EQ(Board(applet).findId("DRA_ScratchPad") > 0, counts) << word;
        const Switches design(nullptr, word.c_str());
        const Board board(applet);
        EXPECT_EQ(applet->Fg_getNrOfParameter(board) > fixedCount, counts) << word;
    }
    Board board(applet);
    EXPECT_EQ(applet->Fg_getNrOfParameter(board), fixedCount);
    EXPECT_EQ(board.set(1000040, 5U), -2070) << "no register without the switch";
}

TEST(DirectAccess, SettingsSelectDesignParameters) {
    const fs::path folder = fs::path(testing::TempDir()) / "description_test_selection";
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (const fs::directory_entry& entry : fs::directory_iterator(host::executableFolder())) {
        if (entry.path().extension() == Applet::defaultFile().extension()) {
            fs::copy_file(entry.path(), folder / entry.path().filename());
        }
    }
    const std::string section = "Zantor_Obvelline_Qx4_RK::";
    std::ofstream(folder / "inspect.conf") << "# what to look at\n"
                                           << section << "Device1_Process0_Camera_UseDval = yes # first of all\n"
                                           << section << "Device1_Info_Comment = off\n"
                                           << section << "Device1_Clock_DesignClock = 1\n"
                                           << section << "Device1_NoSuchThing = on\n"
                                           << "Other::Device1_Info_DesignName = off\n";
    {
        const Switches switches(nullptr, "on");
        const Applet applet(folder / Applet::defaultFile().filename());
        const Board board(applet);
        const std::vector<std::string> all = names(board);
        // The file's order, then the tree's; a kind that is not offered by itself may be asked for.
        EXPECT_THAT(std::vector(all.begin() + fixedCount, all.begin() + fixedCount + 3),
                    ElementsAre("DZEA_Device1_Process0_Camera_UseDval", "DZEA_Device1_Clock_DesignClock",
                                "DZEA_Device1_Info_DesignName"));
        EXPECT_THAT(all, Not(Contains("DZEA_Device1_Info_Comment")));
        EXPECT_THAT(all, Not(Contains("DZEA_Device1_NoSuchThing")));
        EXPECT_THAT(all, Contains("DZEA_Device1_Process0_Camera_Format"));
        EXPECT_THAT(host::readDescriptionXml(board), Not(HasSubstr("DZEA_Device1_Info_Comment")));
    }
    fs::remove_all(folder);
}

} // namespace
} // namespace qelm::test
