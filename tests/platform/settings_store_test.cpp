#include "persistence/settings_store.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>
#include <thread>

namespace qelm::test {
namespace {

using namespace persistence;

using testing::ElementsAre;
using testing::Optional;
using testing::StrEq;

TEST(SettingsStore, ReadsLinesOfKeyAndValue) {
    SettingsStore settings;
    EXPECT_EQ(settings.section(), "none");
    settings.read("# a comment\n"
                  "plain=1\n"
                  "  blanks around \t=  are cut \r\n"
                  "commented = value # the rest is not\n"
                  "#switched.off=1\n"
                  "empty=\n"
                  "two=equals=signs\n"
                  "no sign\n"
                  "= no key\n"
                  "twice=first\n"
                  "twice=second\n"
                  "\n"
                  "last=without line end");
    EXPECT_THAT(settings.keysWithPrefix(""),
                ElementsAre("plain", "blanks around", "commented", "empty", "two", "twice", "last"));
    const struct {
        const char* key;
        const char* value;
    } cases[] = {
        {"plain", "1"},          {"blanks around", "are cut"}, {"commented", "value"},       {"empty", ""},
        {"two", "equals=signs"}, {"twice", "second"},          {"last", "without line end"},
    };
    for (const auto& [key, value] : cases) {
        EXPECT_THAT(settings.value(key), Optional(StrEq(value))) << key;
    }
    EXPECT_EQ(settings.value("switched.off"), std::nullopt);
    EXPECT_THAT(settings.keysWithPrefix("tw"), ElementsAre("two", "twice"));
}

TEST(SettingsStore, ADefaultGivesWayToWhatTheFileSays) {
    SettingsStore settings;
    settings.read("a::x=Off\n");
    settings.addDefault("a::x", "On");
    settings.addDefault("a::y", "On");
    EXPECT_THAT(settings.value("a::x"), Optional(StrEq("Off")));
    EXPECT_THAT(settings.value("a::y"), Optional(StrEq("On")));
}

TEST(SettingsStore, LoadsAFileAndTakesAMissingOneForEmpty) {
    const std::string path = testing::TempDir() + "settings_store_test_inspect.conf";
    std::ofstream(path) << "key=value\n";
    SettingsStore settings;
    settings.load(path + ".missing");
    EXPECT_THAT(settings.keysWithPrefix(""), ElementsAre());
    // Several threads may load; each load holds the store for its whole duration.
    std::thread other([&] { settings.load(path); });
    settings.load(path);
    other.join();
    EXPECT_THAT(settings.value("key"), Optional(StrEq("value")));
    std::ofstream(path, std::ios::app) << "late=value\n" << std::string(4 << 20, '#');
    settings.load(path);
    EXPECT_THAT(settings.keysWithPrefix(""), ElementsAre("key")); // not half of a file that is too large
    std::remove(path.c_str());
}

TEST(Switches, MeanYesInExactlyFourWords) {
    for (const char* text : {"yes", "true", "on", "1", "YES", "On", "tRuE", "oN"}) {
        EXPECT_TRUE(meansYes(text)) << text;
    }
    for (const char* text : {"", "0", "no", "y", "o", "onn", "yes ", " on", "11", "enabled", "2", "truE\n"}) {
        EXPECT_FALSE(meansYes(text)) << text;
    }
}

} // namespace
} // namespace qelm::test
