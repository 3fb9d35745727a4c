// The lookup table from outside: processor, user file, single entries, and what reaches the design of each.

#include "fixture.h"
#include "support/temporary_folder.h"

#include <cmath>
#include <numeric>

namespace qelm::test {
namespace {

const char content[] = "Device1_Process0_LookupTable_LookupTable_LUTcontent";

class LookupTable : public BoardTest {
  protected:
    std::vector<std::uint32_t> designTable() const {
        std::vector<std::uint32_t> table;
        for (std::uint32_t i = 0; i < 4096; ++i) {
            table.push_back(peek(content, i));
        }
        return table;
    }
    std::vector<std::uint32_t> appletTable() const {
        std::vector<std::uint32_t> table;
        for (std::uint32_t i = 0; i < 4096; ++i) {
            LutEntry entry{0, i};
            EXPECT_EQ(board_.get(FG_LUT_VALUE, entry), 0);
            table.push_back(entry.value);
        }
        return table;
    }
    /** Both tables, which agree. */
    std::vector<std::uint32_t> table() const {
        const std::vector<std::uint32_t> design = designTable();
        EXPECT_EQ(appletTable(), design);
        return design;
    }
    std::int32_t useFile(const std::string& text) {
        folder_.write("user.lut", text);
        return board_.set(FG_LUT_CUSTOM_FILE, folder_.file("user.lut"));
    }

    static std::vector<std::uint32_t> identity() {
        std::vector<std::uint32_t> table(4096);
        std::iota(table.begin(), table.end(), 0U);
        return table;
    }

    TemporaryFolder folder_;
};

TEST_F(LookupTable, StartsAsTheIdentityAndFollowsTheProcessor) {
    EXPECT_EQ(table(), identity());
    const auto valueOf = [&](std::int32_t id, double value, std::uint32_t index) {
        EXPECT_EQ(board_.set(id, value), 0);
        return table()[index];
    };
    EXPECT_EQ(board_.set(FG_PROCESSING_INVERT, std::int32_t{FG_ON}), 0);
    EXPECT_EQ(table()[100], 3995U);
    EXPECT_EQ(valueOf(FG_PROCESSING_GAIN, 0.0, 77), 4095U);
    EXPECT_EQ(board_.set(FG_PROCESSING_INVERT, std::int32_t{FG_OFF}), 0);
    EXPECT_EQ(table(), std::vector<std::uint32_t>(4096, 0));
    EXPECT_EQ(valueOf(FG_PROCESSING_GAIN, 4096.0, 1), 4095U);
    EXPECT_EQ(valueOf(FG_PROCESSING_GAIN, 2.0, 1000), 2000U);
    EXPECT_EQ(valueOf(FG_PROCESSING_OFFSET, -0.5, 4095), 4095U);
    EXPECT_EQ(valueOf(FG_PROCESSING_OFFSET, -1.0, 4095), 0U);
    EXPECT_EQ(valueOf(FG_PROCESSING_OFFSET, 0.0, 1000), 2000U);
    EXPECT_EQ(valueOf(FG_PROCESSING_GAIN, 1.0, 1000), 1000U);
    EXPECT_EQ(valueOf(FG_PROCESSING_GAMMA, 2.0, 1024), 2048U);
    EXPECT_EQ(valueOf(FG_PROCESSING_GAMMA, 0.0, 1024), 0U); // an infinite power
    EXPECT_EQ(valueOf(FG_PROCESSING_GAMMA, -1.0, 0), 0U);   // likewise, at 0; it does not fit
    EXPECT_EQ(table()[4095], 4095U);
}

TEST_F(LookupTable, WhatIsOutOfRangeChangesNothing) {
    for (const double value : {-1.0001, 1.0001}) {
        expectRefused(FG_PROCESSING_OFFSET, value, -6000);
    }
    for (const double value : {-0.0001, 4096.5, std::nan("")}) {
        expectRefused(FG_PROCESSING_GAIN, value, -6000);
    }
    for (const double value : {-1000.5, 1001.0}) {
        expectRefused(FG_PROCESSING_GAMMA, value, -6000);
    }
    expectRefused(FG_PROCESSING_INVERT, 2, -6000);
    expectRefused(FG_LUT_TYPE, 1, -6000);
    EXPECT_EQ(board_.set(FG_LUT_VALUE, LutEntry{0, 4096}), -6000);
    EXPECT_EQ(board_.set(FG_LUT_VALUE, LutEntry{4096, 0}), -6000);
    LutEntry entry{0, 4096};
    EXPECT_EQ(board_.get(FG_LUT_VALUE, entry), -2070);
    for (const std::int32_t id : {FG_LUT_IMPLEMENTATION_TYPE, FG_LUT_IN_BITS, FG_LUT_OUT_BITS}) {
        EXPECT_EQ(board_.set(id, 0), -12);
    }
    EXPECT_EQ(board_.get<std::int32_t>(FG_LUT_IMPLEMENTATION_TYPE), 0);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_LUT_IN_BITS), 12U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_LUT_OUT_BITS), 12U);
    EXPECT_EQ(table(), identity());
}

TEST_F(LookupTable, AFailingWriteRollsTheValueBack) {
    expectRollBackAtEachWrite(FG_PROCESSING_GAIN, 0.5);
    expectRollBackAtEachWrite(FG_PROCESSING_INVERT, std::int32_t{FG_ON});
    EXPECT_EQ(board_.set(FG_LUT_VALUE, LutEntry{7, 9}), 0);
    control().fail(board_.virtualBoard(), nullptr, nullptr, 0, 1, injected);
    EXPECT_EQ(board_.set(FG_LUT_VALUE, LutEntry{8, 9}), injected);
    LutEntry entry{0, 9};
    EXPECT_EQ(board_.get(FG_LUT_VALUE, entry), 0);
    EXPECT_EQ(entry.value, 7U);

    ASSERT_EQ(useFile("nrOfElements=1;\n[gray]\n0,5;\n"), 0); // not in use yet
    const std::string name = folder_.file("user.lut");
    control().fail(board_.virtualBoard(), nullptr, nullptr, 0, 1, injected);
    EXPECT_EQ(board_.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_CUSTOM}), injected);
    EXPECT_EQ(board_.get<std::int32_t>(FG_LUT_TYPE), LUT_TYPE_PROCESSING);
    ASSERT_EQ(board_.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_CUSTOM}), 0);
    control().fail(board_.virtualBoard(), nullptr, nullptr, 0, 1, injected);
    folder_.write("other.lut", "nrOfElements=1;\n[gray]\n0,6;\n");
    EXPECT_EQ(board_.set(FG_LUT_CUSTOM_FILE, folder_.file("other.lut")), injected);
    EXPECT_EQ(board_.get<std::string>(FG_LUT_CUSTOM_FILE), name);
}

TEST_F(LookupTable, ASingleEntryIsWrittenAlone) {
    const std::vector<std::string> writes = writesOf(board_, [&] {
        EXPECT_EQ(board_.set(FG_LUT_VALUE, LutEntry{4095, 17}), 0);
    });
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_THAT(writes[0], testing::StartsWith(content));
    std::vector<std::uint32_t> expected = identity();
    expected[17] = 4095;
    EXPECT_EQ(table(), expected);
}

TEST_F(LookupTable, TheModeDecidesWhatFillsTheTableAndWhatCanBeWritten) {
    const auto accesses = [&] {
        std::vector<std::int32_t> flags;
        for (const char* name : {"FG_LUT_CUSTOM_FILE", "FG_PROCESSING_GAIN", "FG_PROCESSING_GAMMA",
                                 "FG_PROCESSING_OFFSET", "FG_PROCESSING_INVERT"}) {
            flags.push_back(described(board_, name).access);
        }
        return flags;
    };
    EXPECT_THAT(accesses(), ElementsAre(1, 7, 7, 7, 7));
    EXPECT_EQ(board_.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_CUSTOM}), 0); // no name: nothing to load
    EXPECT_THAT(accesses(), ElementsAre(7, 1, 1, 1, 1));
    EXPECT_EQ(table(), identity());
    EXPECT_THAT(writesOfSet(FG_PROCESSING_GAIN, 2.0), IsEmpty());
    EXPECT_EQ(useFile("nrOfElements=3;\n[gray]\n0,10;\n1,11;\n2,12;\n3,13;\n"), 0);
    std::vector<std::uint32_t> expected = identity();
    std::iota(expected.begin(), expected.begin() + 3, 10U);
    EXPECT_EQ(table(), expected);
    EXPECT_EQ(board_.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_PROCESSING}), 0);
    EXPECT_EQ(table()[1000], 2000U);
    EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(useFile("nrOfElements=1;\n[gray]\n0,9;\n"), 0); }), IsEmpty());
}

TEST_F(LookupTable, FilesThatAreShortLongOrStrange) {
    ASSERT_EQ(board_.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_CUSTOM}), 0);
    std::string all = "nrOfElements=5000;\n[gray]\n";
    for (int i = 0; i < 5000; ++i) {
        all += std::to_string(i) + "," + std::to_string(i % 7) + ";\n";
    }
    EXPECT_EQ(useFile(all), 0);
    EXPECT_EQ(table()[4095], 4095U % 7);
    EXPECT_EQ(useFile("nrOfElements=2000000000;\n[gray]\n0,7;\n"), 0); // entries without a line are 0
    EXPECT_EQ(table()[0], 7U);
    EXPECT_EQ(table()[4095], 0U);
    // Entries go to the design unchecked; this one refuses what it cannot hold.
    EXPECT_EQ(useFile("nrOfElements=1;\n[gray]\n0,70000;\n"), -6000);
    EXPECT_EQ(useFile("nrOfElements=1;\n[gray]\n0,9;\n"), 0);
    const std::vector<std::uint32_t> before = table();
    EXPECT_EQ(writesOf(board_, [&] { EXPECT_EQ(useFile("[gray]\n0,1;\n"), 0); }).size(), 1U); // no count: unchanged
    EXPECT_EQ(useFile(""), 0);
    EXPECT_EQ(useFile(std::string(100000, '\xFF')), 0);
    EXPECT_EQ(useFile(std::string(1000, '\0')), 0);
    EXPECT_EQ(table(), before);

    const std::string name = board_.get<std::string>(FG_LUT_CUSTOM_FILE);
    EXPECT_EQ(board_.set(FG_LUT_CUSTOM_FILE, folder_.file("missing.lut")), -2076);
    EXPECT_EQ(board_.get<std::string>(FG_LUT_CUSTOM_FILE), name);
    EXPECT_EQ(board_.set(FG_LUT_CUSTOM_FILE, ""), 0);
    EXPECT_EQ(table(), before);
}

TEST_F(LookupTable, ASavedTableComesBackAsItWas) {
    ASSERT_EQ(board_.set(FG_PROCESSING_GAMMA, 0.45), 0);
    ASSERT_EQ(board_.set(FG_LUT_VALUE, LutEntry{1234, 5}), 0);
    const std::vector<std::uint32_t> saved = table();
    ASSERT_EQ(board_.set(FG_LUT_SAVE_FILE, folder_.file("saved.lut")), 0);
    const std::string text = folder_.read("saved.lut");
    EXPECT_THAT(text, testing::StartsWith("# Lut data file v1.1\n\n\n\n[gray]\n\nid=3;\nnrOfElements=4096;\n"
                                          "format=0;\nnumber=0;\n0,0;\n"));
    EXPECT_THAT(text, testing::EndsWith("\n4095,4095;\n"));

    ASSERT_EQ(board_.set(FG_PROCESSING_GAMMA, 1.0), 0);
    ASSERT_EQ(board_.set(FG_LUT_CUSTOM_FILE, folder_.file("saved.lut")), 0);
    ASSERT_EQ(board_.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_CUSTOM}), 0);
    EXPECT_EQ(table(), saved);

    EXPECT_EQ(board_.set(FG_LUT_SAVE_FILE, folder_.file("no/such/folder.lut")), -5001);
    EXPECT_EQ(board_.get<std::string>(FG_LUT_SAVE_FILE), folder_.file("saved.lut"));
    EXPECT_EQ(board_.set(FG_LUT_SAVE_FILE, ""), 0);
    EXPECT_EQ(board_.get<std::string>(FG_LUT_SAVE_FILE), "");
}

} // namespace
} // namespace qelm::test
