// What "grab" and "timing" make of the pictures and the signals of a virtual board.

#include "fixture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <map>

namespace qelm::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Json = nlohmann::json;

std::string readBytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/** A page of a TIFF file whose pixels are one uncompressed strip, its numbers with the low byte first. */
struct Page {
    std::map<unsigned, std::uint64_t> numbers; ///< by tag
    std::string description;
    std::string pixels;
};

std::uint64_t numberAt(const std::string& bytes, std::uint64_t position, unsigned size) {
    std::uint64_t number = 0;
    for (unsigned i = 0; i < size; ++i) {
        number |= std::uint64_t{static_cast<unsigned char>(bytes.at(position + i))} << 8 * i;
    }
    return number;
}

std::vector<Page> readTiff(const fs::path& file) {
    const std::string bytes = readBytes(file);
    EXPECT_EQ(bytes.substr(0, 4), std::string("II\x2A\0", 4));
    std::vector<Page> pages;
    for (std::uint64_t directory = numberAt(bytes, 4, 4); directory != 0;) {
        Page page;
        const std::uint64_t count = numberAt(bytes, directory, 2);
        unsigned previous = 0;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t entry = directory + 2 + i * 12;
            const auto tag = static_cast<unsigned>(numberAt(bytes, entry, 2));
            EXPECT_GT(tag, previous) << "tags stand in ascending order";
            previous = tag;
            const unsigned size = numberAt(bytes, entry + 2, 2) == 3 ? 2 : 4;
            page.numbers[tag] = numberAt(bytes, entry + 8, size);
            if (tag == 270) {
                page.description = bytes.substr(page.numbers[tag], numberAt(bytes, entry + 4, 4));
            }
        }
        page.pixels = bytes.substr(page.numbers[273], page.numbers[279]);
        pages.push_back(std::move(page));
        directory = numberAt(bytes, directory + 2 + count * 12, 4);
    }
    return pages;
}

const Words threePictures{
    "grab",  "--frames",       "3",     "--set",          "FG_WIDTH=64", "--set",          "FG_HEIGHT=33",
    "--set", "FG_XOFFSET=512", "--set", "FG_YOFFSET=300", "--camera",    "match,noise=200"};

Words with(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

TEST_F(QelmTest, PicturesTellWhenTheyWereTaken) {
    const Json report = Json::parse(run(with(threePictures, {"-o", "p.tif", "--json"})).output);
    const Json& pictures = report["pictures"];
    ASSERT_EQ(pictures.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(pictures[i]["number"], i + 1);
        EXPECT_GT(pictures[i]["nanoseconds"], pictures[i]["triggerNanoseconds"]);
        for (const char* loss : {"lost", "missing", "skipped"}) {
            EXPECT_EQ(pictures[i][loss], 0);
        }
    }
    // The generator's rate after the start is 8 Hz.
    EXPECT_NEAR(pictures[2]["triggerNanoseconds"].get<double>() - pictures[1]["triggerNanoseconds"].get<double>(),
                125e6, 100);
    const Result text = run(with(threePictures, {"-o", "p.png"}));
    EXPECT_THAT(text.output, testing::ContainsRegex("number 2, triggered at .+ ms, complete at .+ ms\n"));
    EXPECT_THAT(text.output, Not(HasSubstr("lost")));
}

TEST_F(QelmTest, AllKindsOfFilesHoldTheSamePictures) {
    const std::pair<const char*, unsigned> formats[] = {{"FG_GRAY", 8}, {"FG_GRAY16", 16}};
    for (const auto& [format, bits] : formats) {
        const Words words = with(threePictures, {"--set", std::string("FG_FORMAT=") + format});
        ASSERT_EQ(run(with(words, {"-o", "raw.raw"})).status, 0);
        const std::string raw = readBytes("raw.raw");
        const std::size_t size = 64 * 33 * bits / 8;
        ASSERT_EQ(raw.size(), 3 * size);

        const Result piped = run(with(words, {"-o", "-"}));
        EXPECT_EQ(piped.status, 0);
        EXPECT_TRUE(readBytes("output") == raw);
        EXPECT_THAT(piped.errors, HasSubstr("frame 3  64 x 33, " + std::to_string(bits) + " bits"));

        const Result paged = run(with(words, {"-o", "pages.tif", "--multi-page"}));
        EXPECT_EQ(paged.status, 0) << paged.errors;
        EXPECT_THAT(paged.output, HasSubstr("pages.tif page 3"));
        ASSERT_EQ(run(with(words, {"-o", "single.tif"})).status, 0);
        const std::vector<Page> pages = readTiff("pages.tif");
        ASSERT_EQ(pages.size(), 3u);
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const std::vector<Page> single = readTiff("single-" + std::to_string(i + 1) + ".tif");
            ASSERT_EQ(single.size(), 1u);
            for (const Page& page : {pages[i], single[0]}) {
                EXPECT_EQ(page.numbers.at(256), 64u);
                EXPECT_EQ(page.numbers.at(257), 33u);
                EXPECT_EQ(page.numbers.at(258), bits);
                EXPECT_TRUE(page.pixels == raw.substr(i * size, size));
                const Json description = Json::parse(page.description.c_str());
                EXPECT_EQ(description["number"], i + 1);
                EXPECT_EQ(description["fullScale"], bits == 8 ? 255 : 65520);
                EXPECT_EQ(description["settings"]["FG_XOFFSET"], 512);
                EXPECT_EQ(description["settings"]["FG_FORMAT"], format);
            }
            EXPECT_TRUE(pages[i].pixels != pages[(i + 1) % 3].pixels) << "noise differs";
        }
        // The board's own reader takes them.
        EXPECT_EQ(run({"grab", "--scene", "pages.tif", "-o", "again.png"}).status, 0);
    }
}

TEST_F(QelmTest, RefusesTargetsThatDoNotSuitThePictures) {
    const std::pair<Words, const char*> cases[] = {
        {{"-o", "p.png", "--multi-page"}, "only a TIFF file has pages"},
        {{"-o", "p.raw", "--multi-page"}, "only a TIFF file has pages"},
        {{"-o", "-", "--multi-page"}, "which have no pages"},
        {{"-o", "-", "--json"}, "not both"},
        {{"-o", "p.bmp"}, "has to end in .png, .tif, .tiff or .raw"},
    };
    for (const auto& [words, sentence] : cases) {
        const Result result = run(with({"grab"}, words));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
    }
}

TEST_F(QelmTest, AFileOfManyPicturesKeepsThoseThatCame) {
    const Words slow{"grab", "--frames", "3", "--set", "FG_TRIGGER_FRAMESPERSECOND=0.5", "--timeout", "1", "-o"};
    const Result paged = run(with(slow, {"pages.tif", "--multi-page", "--json"}));
    EXPECT_EQ(paged.status, 1);
    EXPECT_THAT(paged.errors, HasSubstr("Written before: \"pages.tif\""));
    EXPECT_EQ(Json::parse(paged.output)["pictures"].size(), 1u);
    EXPECT_EQ(readTiff("pages.tif").size(), 1u);
    EXPECT_EQ(run(with(slow, {"raw.raw"})).status, 1);
    EXPECT_EQ(fs::file_size("raw.raw"), 1024u * 1024u);
    // Where none came there is no file.
    EXPECT_EQ(run(with(slow, {"none.tif", "--multi-page", "--set", "FG_TRIGGERSTATE=TS_SYNC_STOP"})).status, 1);
    EXPECT_FALSE(fs::exists("none.tif"));
}

TEST_F(QelmTest, DrawsWhatHappensInTheTimeAskedFor) {
    const auto draw = [this](const Words& more) {
        const Result result = run(with({"timing", "-o", "t.svg", "--json"}, more));
        EXPECT_EQ(result.status, 0) << result.errors;
        return Json::parse(result.output);
    };
    const Words generator{"FG_TRIGGER_FRAMESPERSECOND=50", "--wait", "100000"};
    const Json whole = draw(generator);
    EXPECT_THAT(readText("t.svg"), HasSubstr(">0 ms</text>"));
    const Json part = draw(with(generator, {"--from", "40000", "--to", "41000"}));
    const std::uint64_t start = part["start"];
    EXPECT_EQ(part["from"], start + 40'000'000);
    EXPECT_EQ(part["to"], start + 41'000'000);
    EXPECT_EQ(part["signals"], whole["signals"]);
    const std::string drawn = readText("t.svg");
    EXPECT_THAT(drawn, HasSubstr(">40000 \u00b5s</text>"));
    EXPECT_THAT(drawn, HasSubstr(">41000</text>"));
    EXPECT_THAT(drawn, Not(HasSubstr(">39900</text>")));

    // One pulse, then a minute of silence: the picture ends soon after what the pulse led to.
    const Words external{"FG_AREATRIGGERMODE=ATM_EXTERNAL", "--pulses", "1", "--wait", "60000000"};
    const Json silent = draw(external);
    EXPECT_LT(silent["to"].get<std::uint64_t>() - silent["start"].get<std::uint64_t>(), 200'000'000u);
    EXPECT_GT(silent["end"].get<std::uint64_t>() - silent["start"].get<std::uint64_t>(), 60'000'000'000u);
    EXPECT_THAT(readText("t.svg"), Not(HasSubstr("lost triggers")));

    // Two pulses faster than the rate: the second one is marked.
    const Json marked = draw({"FG_AREATRIGGERMODE=ATM_EXTERNAL", "--pulses", "2", "--period", "50000"});
    ASSERT_EQ(marked["marks"].size(), 1u);
    EXPECT_EQ(marked["marks"][0]["name"], "lost triggers");
    ASSERT_EQ(marked["marks"][0]["nanoseconds"].size(), 1u);
    EXPECT_NEAR(marked["marks"][0]["nanoseconds"][0].get<double>(), 50e6 + marked["start"].get<double>(), 20e3);
    EXPECT_THAT(readText("t.svg"), HasSubstr(">lost triggers</text>"));

    const std::pair<Words, const char*> nothing[] = {
        {{"--from", "5", "--to", "5"}, "nothing to draw from 5 to 5"},
        {{"--from", "0", "--to", "100001"}, "the run ended at 100000"},
        {{"--from", "99999"}, "nothing changed after"},
    };
    for (const auto& [words, sentence] : nothing) {
        const Result result = run(with({"timing", "-o", "none.svg", "--wait", "100000"}, words));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
        EXPECT_FALSE(fs::exists("none.svg"));
    }
}

} // namespace
} // namespace qelm::test
