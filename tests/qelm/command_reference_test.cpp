// The manual page and the completions of shells know what the help knows.

#include "fixture.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <regex>
#include <set>

namespace qelm::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class CommandReferenceTest : public QelmTest {
  protected:
    /** The verbs that the help lists, by its indentation. */
    std::vector<std::string> verbs() {
        const std::string help = run({"--help"}).output;
        const std::string list = help.substr(help.find("\nVerbs:\n"));
        const std::regex line("\n  ([a-z]+) ");
        std::vector<std::string> names;
        const std::string block = list.substr(0, list.find("\n\n"));
        for (std::sregex_iterator found(block.begin(), block.end(), line), end; found != end; ++found) {
            names.push_back((*found)[1]);
        }
        return names;
    }
    static std::set<std::string> optionsIn(const std::string& text) {
        static const std::regex option("(^|[ ,])(--[a-z][a-z-]*)");
        std::set<std::string> options;
        for (std::sregex_iterator found(text.begin(), text.end(), option), end; found != end; ++found) {
            options.insert((*found)[2]);
        }
        return options;
    }
    /** The options of a verb's help, above its examples. */
    std::set<std::string> optionsOf(const std::string& verb) {
        const std::string help = run({verb, "--help"}).output;
        const std::size_t options = help.find("\nOptions:\n");
        const std::size_t end = help.find("\n\n", options);
        return optionsIn(help.substr(options, end - options));
    }
#ifndef _WIN32
    /** What bash completes a command line to. */
    Words complete(const std::string& line) {
        std::ofstream("try.bash") << "source ./qelm.bash\nCOMP_LINE=\"$1\" COMP_POINT=${#1}\n_qelm\n"
                                  << "printf '%s\\n' \"${COMPREPLY[@]}\" >completed\n";
        EXPECT_EQ(std::system(("bash try.bash '" + line + "'").c_str()), 0) << line;
        std::istringstream stream(readText("completed"));
        Words words;
        for (std::string word; std::getline(stream, word);) {
            words.push_back(word);
        }
        return words;
    }
#endif
};

TEST_F(CommandReferenceTest, TheManualPageHasEveryVerbAndOption) {
    std::string page = run({"man"}).output;
    EXPECT_THAT(page, HasSubstr("\n.SH NAME\nqelm \\- "));
    for (std::size_t at = 0; (at = page.find("\\-", at)) != page.npos;) {
        page.replace(at, 2, "-");
    }
    const std::vector<std::string> names = verbs();
    ASSERT_GE(names.size(), 20u);
    for (const std::string& verb : names) {
        const std::size_t section = page.find("\n.SS " + verb + "\n");
        ASSERT_NE(section, page.npos) << verb;
        const std::string text =
            page.substr(0, page.find("\n.SH VERBS")) + page.substr(section, page.find("\n.SS ", section + 1) - section);
        for (const std::string& option : optionsOf(verb)) {
            EXPECT_THAT(text, HasSubstr("\\fB" + option + "\\fR")) << verb;
        }
    }
}

TEST_F(CommandReferenceTest, TheVersionIsThatOfTheApplet) {
    const Result version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(run({"info"}).output, HasSubstr(version.output.substr(5, version.output.find('\n') - 5)));
}

TEST_F(CommandReferenceTest, OtherShellsAreRefused) {
    const Result result = run({"completion", "csh"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.errors, HasSubstr("csh"));
}

#ifndef _WIN32

TEST_F(CommandReferenceTest, BashCompletesVerbsOptionsParametersAndValues) {
    std::ofstream("qelm.bash") << run({"completion", "bash"}).output;
    std::ofstream("setup.kcf") << "";
    EXPECT_THAT(complete("qelm tim"), ElementsAre("timing"));
    const Words all = complete("qelm ");
    for (const std::string& verb : verbs()) {
        EXPECT_THAT(all, Contains(verb));
        const Words options = complete("qelm " + verb + " --");
        for (const std::string& option : optionsOf(verb)) {
            EXPECT_THAT(options, Contains(option)) << verb;
        }
    }
    EXPECT_THAT(complete("qelm get FG_XO"), ElementsAre("FG_XOFFSET"));
    EXPECT_THAT(complete("qelm set FG_XOFFSET=64 FG_FORM"), ElementsAre("FG_FORMAT="));
    EXPECT_THAT(complete("qelm --json set FG_FORMAT="), ElementsAre("FG_GRAY", "FG_GRAY16"));
    EXPECT_THAT(complete("qelm grab --set FG_BITALIGNMENT=FG_R"), ElementsAre("FG_RIGHT_ALIGNED"));
    EXPECT_THAT(complete("qelm load set"), ElementsAre("setup.kcf"));
    EXPECT_THAT(complete("qelm grab --load set"), ElementsAre("setup.kcf"));
    EXPECT_THAT(complete("qelm grab --frames "), Not(Contains("setup.kcf")));
}

TEST_F(CommandReferenceTest, EveryShellReadsItsCompletion) {
    for (const char* shell : {"bash", "zsh", "fish"}) {
        std::ofstream("completion") << run({"completion", shell}).output;
        EXPECT_EQ(std::system((std::string(shell) + " -n completion").c_str()), 0) << shell;
    }
}

#endif

} // namespace
} // namespace qelm::test
