#include "fixture.h"
#include "model/crc32.h"

#include <random>
#include <utility>
#include <vector>

namespace qelm::test {
namespace {

constexpr std::size_t headerLength = 64;

void putLittleEndian(std::string& bytes, std::size_t place, std::uint64_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[place + i] = static_cast<char>(value >> (8 * i));
    }
}

std::string imageOf(const std::string& text) {
    std::string image = "QELMHAP1" + std::string(headerLength - 8, '\0') + text;
    putLittleEndian(image, 8, text.size(), 8);
    putLittleEndian(image, 16, virtual_board::crc32(reinterpret_cast<const unsigned char*>(text.data()), text.size()),
                    4);
    putLittleEndian(image, 20, designNumber, 4);
    return image;
}

/** Loads and releases; whether there was an image. */
bool isSound(const std::string& image) {
    void* loaded = loadDesignImageMemory(image.data(), image.size(), 1);
    releaseDesignImage(loaded);
    return loaded != nullptr;
}

std::string description() {
    const std::string image = readFile(QELM_DESIGN_IMAGE);
    std::uint64_t length = 0;
    for (std::size_t i = 8; i > 0; --i) {
        length = length << 8 | static_cast<unsigned char>(image.at(7 + i));
    }
    return image.substr(headerLength, static_cast<std::size_t>(length));
}

TEST(DesignLoader, ReadsTheBuiltImageFromMemoryAndFile) {
    const std::string image = readFile(QELM_DESIGN_IMAGE);
    EXPECT_EQ(image.size(), 2269798U);
    EXPECT_TRUE(isSound(image));
    EXPECT_EQ(imageOf(description()), image.substr(0, headerLength + description().size()));
    EXPECT_EQ(loadDesignImageFile(QELM_DESIGN_IMAGE, designNumber + 1, 1), nullptr);
    EXPECT_EQ(loadDesignImageFile("no such file.hap", designNumber, 1), nullptr);
    EXPECT_EQ(loadDesignImageFile(nullptr, designNumber, 1), nullptr);
    EXPECT_EQ(loadDesignImageMemory(nullptr, 100, 1), nullptr);

    void* loaded = loadDesignImageFile(QELM_DESIGN_IMAGE, designNumber, 1);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(getDesignRegisterName(loaded, 0), nullptr);
    EXPECT_EQ(getDesignRegisterName(loaded, getDesignRegisterCount(loaded) + 1), nullptr);
    for (const char* name : {"AAGenEnable", "AAGenStart", "AAGenWidth", "AAGenLineWidth", "AAGenHeight", "AAGenActive",
                             "AAGenPassive", "AAGenMask", "AAGenRoll"}) {
        EXPECT_EQ(getDesignRegisterWidth(loaded, getDesignRegisterAddress(loaded, name)), 32U) << name;
    }
    EXPECT_EQ(getDesignRegisterAddress(loaded, "AAGenNothing"), 0U);
    EXPECT_EQ(getDesignRegisterWidth(loaded, 3), 0U);
    EXPECT_EQ(isDesignRegisterWritable(loaded, 3), 0);
    ASSERT_NE(getDesignEvent(loaded, 3), nullptr);
    EXPECT_STREQ(getDesignEvent(loaded, 3)->name, "Device1_Process1_Trigger_TriggerInput_InputEvents_InputEvents_Pin0");
    std::uint32_t events = 0;
    std::int32_t unpublished = 0;
    for (; const DesignEvent* event = getDesignEvent(loaded, events); ++events) {
        unpublished += event->kind == 1 ? 0 : 1;
    }
    EXPECT_GT(events, 24U);
    EXPECT_GT(unpublished, 0);
    releaseDesignImage(loaded);
    EXPECT_EQ(getDesignRegisterCount(loaded), 0U) << "released";
    EXPECT_EQ(getDesignEvent(loaded, 0), nullptr);
}

TEST(DesignLoader, FailsWhereAFailureCanBeTold) {
    void* loaded = loadDesignImageFile(QELM_DESIGN_IMAGE, designNumber, 1);
    virtualBoardFail(nullptr, nullptr, nullptr, 0, 3, -4711);
    EXPECT_EQ(getDesignRegisterCount(loaded), 0U) << "not the code as four thousand million registers";
    EXPECT_EQ(getDesignRegisterName(loaded, 1), nullptr);
    releaseDesignImage(loaded); // answers nothing, and does not count
    EXPECT_EQ(virtualBoardResources().designImages, 0);
    EXPECT_EQ(loadDesignImageFile(QELM_DESIGN_IMAGE, designNumber, 1), nullptr);
    virtualBoardClearFaults();
}

TEST(DesignLoader, RefusesADamagedHeader) {
    const std::string sound = imageOf(description());
    for (const std::size_t place : {0U, 7U, 8U, 12U, 15U, 16U, 19U, 24U, 63U, 64U}) {
        std::string damaged = sound;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x40);
        EXPECT_FALSE(isSound(damaged)) << place;
    }
    for (const std::size_t length : {std::size_t{0}, std::size_t{63}, std::size_t{64}, sound.size() - 1}) {
        EXPECT_FALSE(isSound(sound.substr(0, length))) << length;
    }
}

TEST(DesignLoader, RefusesAnUnsoundDescription) {
    const std::string sound = description();
    const std::pair<const char*, const char*> changes[] = {
        {"\"registers\"", "\"register\""},
        {"\"id\": 400002", "\"id\": 400001"},
        {"\"id\": 400002", "\"id\": 0"},
        {"\"id\": 400002", "\"id\": 4000000000"},
        {"\"id\": 400002", "\"id\": 2147483647"},
        {"\"id\": 400002", "\"id\": \"400002\""},
        {"\"name\": \"DesignNumber\"", "\"name\": \"DesignName\""},
        {"\"name\": \"DesignNumber\"", "\"name\": \"\""},
        {"\"name\": \"DesignNumber\"", "\"name\": \"a\\u0000b\""},
        {"\"name\": \"DesignNumber\"", "\"nome\": \"DesignNumber\""},
        {"\"kind\": \"integer\"", "\"kind\": \"integral\""},
        {"\"minimum\": 0, \"maximum\": 65535, \"value\": 2628", "\"minimum\": 0, \"maximum\": 65535, \"value\": 65536"},
        {"\"minimum\": 0, \"maximum\": 65535, \"value\": 2628", "\"minimum\": 9, \"maximum\": 8"},
        {"\"minimum\": 0, \"maximum\": 65535, \"value\": 2628", "\"minimum\": -1, \"maximum\": 8"},
        {"\"length\": 4096", "\"length\": 4294967295"},
        {"\"length\": 4096", "\"length\": 0"},
        {"\"access\": 7", "\"access\": 8"},
        {"\"enumeration\": \"YesNo\"", "\"enumeration\": \"NoYes\""},
        {"\"coefficientFile\": \"Device1_Process0_Shading_ShadingBuffer_0_", "\"coefficientFile\": \"Device1_"},
        {"\"address\": 16,", "\"address\": 8,"},
        {"\"width\": 33", "\"width\": 65"},
        {"\"width\": 33", "\"width\": 0"},
        {"\"writable\": true", "\"writable\": 1"},
        {"\"YesNo\": [", "\"YesNo\": [], \"Other\": ["},
        {"\"group\": \"Clock\"", "\"group\": 5"},
        {"\"Clock\"", "\"Cl\xFFock\""},
    };
    ASSERT_TRUE(isSound(imageOf(sound)));
    for (const auto& [what, with] : changes) {
        const std::size_t place = sound.find(what);
        ASSERT_NE(place, std::string::npos) << what;
        EXPECT_FALSE(isSound(imageOf(std::string(sound).replace(place, std::string(what).size(), with)))) << with;
    }
    for (const std::string& text :
         {std::string(), std::string("null"), std::string("{}"), std::string(500000, '['),
          std::string(R"({"name":"x","enumerations":{},"parameters":[],"registers":[],"events":[]})")}) {
        EXPECT_FALSE(isSound(imageOf(text))) << text.substr(0, 80);
    }
}

TEST(DesignLoader, SurvivesAnyBytes) {
    const std::string sound = description();
    std::mt19937 random(2628);
    int accepted = 0;
    for (int round = 0; round < 300; ++round) {
        std::string text = sound;
        for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
            const std::size_t place = random() % text.size();
            switch (random() % 3) {
            case 0:
                text[place] = static_cast<char>(random());
                break;
            case 1:
                text.erase(place, 1 + random() % 40);
                break;
            default:
                text.insert(place, text.substr(random() % text.size(), random() % 40));
            }
        }
        accepted += isSound(imageOf(text)) ? 1 : 0;
    }
    EXPECT_LT(accepted, 300);
}

// A board that is started with another design runs that one, and handles of the earlier design notice.
TEST(DesignLoader, BoardsRunTheDesignTheyWereStartedWith) {
    const std::string image = imageOf(R"({"name": "Small", "enumerations": {}, "parameters": [
        {"group": "Device1", "members": [
            {"name": "Level", "id": 7, "kind": "integer", "access": 7, "minimum": 0, "maximum": 9, "value": 3}]}],
        "registers": [{"name": "R", "address": 4, "width": 8, "writable": true}], "events": []})");
    StartedBoard usual;
    void* loaded = loadDesignImageMemory(image.data(), image.size(), 1);
    ASSERT_NE(loaded, nullptr);
    void* handle = Fg_InitHandle("small.hap", usual.board, loaded);
    std::uint32_t value = 0;
    EXPECT_EQ(Fg_getParameterIdByName(handle, "Device1_Level"), 7);
    EXPECT_EQ(Fg_getParameter(handle, 7, &value, 0), 0);
    EXPECT_EQ(value, 3U);
    EXPECT_EQ(writeRegister(usual.board, 4, 255, 0), 0);
    EXPECT_EQ(usual.set("Device1_Process0_Camera_UseDval", 1), -2001);
    releaseDesignImage(loaded);
    EXPECT_STREQ(Fg_getDesignTree(handle)->children[0]->name, "Device1") << "the handle keeps the design";
    EXPECT_EQ(Fg_FreeGrabber(handle), 0);
}

} // namespace
} // namespace qelm::test
