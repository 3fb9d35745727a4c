// Every call that an operation makes into the vendor libraries fails in turn. Whatever it was, the code comes back,
// the board's values and descriptions stay as they were, nothing is left behind, and the next try works.

#include "support/fault_sweep.h"

#include <set>

namespace qelm::test {
namespace {

using host::Parameter;
using host::ParameterKind;

/** A setter whose values the others stand on: the operations do not start from them, since they need room. */
void makeRoom(Board& board) {
    board.change(FG_CAMERA_WIDTH, 2048U);
    board.change(FG_CAMERA_HEIGHT, 2048U);
    board.change(FG_IMG_SELECT_PERIOD, 8U);
    board.change(FG_TRIGGERIN_DOWNSCALE, 4U);
    for (std::int32_t i = 0; i < 4; ++i) {
        board.change(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE + 4 * i, 4U);
    }
    board.change(FG_TRIGGERCC_SELECT1, std::uint32_t{CC_PULSEGEN2});
    board.change(FG_SHADING_GAIN_CORRECTION_MODE, std::uint32_t{FG_CUSTOM_VALUE});
}

bool isOfTrigger(const std::string& name) {
    return host::findFixedParameter(name)->category.starts_with("Trigger");
}
bool isOfTriggersState(const std::string& name) {
    static const std::set<std::string> live = {"FG_SOFTWARETRIGGER_IS_BUSY", "FG_SOFTWARETRIGGER_QUEUE_FILLLEVEL",
                                               "FG_TRIGGEROUT_STATS_PULSECOUNT"};
    return live.contains(name);
}
/** What a get finds out from the design, where a write that was refused did not arrive. */
bool isReadBack(const std::string& name) {
    return name.ends_with("_DELAY") || name.ends_with("_WIDTH") || name == "FG_TRIGGERIN_DEBOUNCE";
}
/** The lookup table keeps new content, whether the design took it or not. */
bool isTable(const std::string& name) {
    return name == "FG_LUT_VALUE";
}

/** A value that the board takes, other than the present one where there is another. */
std::optional<Operation> goodSet(const Applet& applet, const Parameter& row) {
    Board board(applet);
    makeRoom(board);
    const Parameter parameter = host::withCurrentLimits(board, row);
    const auto firstGood = [&](const auto& candidates) -> std::optional<Operation> {
        for (const auto value : candidates) {
            if (board.set(row.id, value) == 0) {
                return Operation{.name = row.name, .prepare = makeRoom, .act = [id = row.id, value](Board& target) {
                                     return target.set(id, value);
                                 }};
            }
        }
        return std::nullopt;
    };
    if (!parameter.isWritable()) {
        return std::nullopt;
    }
    switch (parameter.kind) {
    case ParameterKind::integer: {
        const auto now = board.get<std::uint32_t>(row.id);
        const auto step = static_cast<std::uint32_t>(parameter.increment);
        return firstGood(std::array{now + step, now - step});
    }
    case ParameterKind::floatingPoint: {
        const auto now = board.get<double>(row.id);
        return firstGood(std::array{now + 1.0, now / 2.0});
    }
    case ParameterKind::enumeration: {
        const auto now = board.get<std::int32_t>(row.id);
        std::vector<std::int32_t> values;
        for (const host::EnumerationEntry& entry : parameter.entries) {
            if (entry.value != now || parameter.entries.size() == 1) {
                values.push_back(entry.value);
            }
        }
        return firstGood(values);
    }
    default:
        return std::nullopt;
    }
}

TEST_F(FaultSweep, Setters) {
    // Those that need more than a number and room.
    const std::string table = folder_.file("table.lut");
    const std::string missing = folder_.file("missing.tif");
    {
        Board board(applet_);
        ASSERT_EQ(board.set(FG_LUT_SAVE_FILE, table), 0);
    }
    const auto custom = [](Board& board) { board.change(FG_LUT_TYPE, std::int32_t{LUT_TYPE_CUSTOM}); };
    const auto softwareTrigger = [](Board& board) {
        board.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_SOFTWARE});
        board.change(FG_TRIGGERQUEUE_MODE, std::int32_t{FG_ON});
        board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    };
    std::vector<Operation> operations = {
        {.name = "FG_LUT_TYPE",
         .prepare = custom,
         .act = [](Board& board) { return board.set(FG_LUT_TYPE, std::int32_t{LUT_TYPE_PROCESSING}); },
         .mayChange = isTable},
        {.name = "FG_LUT_VALUE",
         .prepare = custom,
         .act = [](Board& board) { return board.set(FG_LUT_VALUE, LutEntry{.value = 7, .index = 0}); }},
        {.name = "FG_LUT_CUSTOM_FILE",
         .prepare = custom,
         .act = [&](Board& board) { return board.set(FG_LUT_CUSTOM_FILE, table); },
         .mayChange = isTable},
        {.name = "FG_LUT_SAVE_FILE",
         .prepare = custom,
         .act = [&](Board& board) { return board.set(FG_LUT_SAVE_FILE, table); }},
        {.name = "FG_SHADING_BLACK_FILENAME",
         .prepare = makeRoom,
         .act = [&](Board& board) { return board.set(FG_SHADING_BLACK_FILENAME, missing); }},
        {.name = "FG_SHADING_GRAY_FILENAME",
         .prepare = makeRoom,
         .act = [&](Board& board) { return board.set(FG_SHADING_GRAY_FILENAME, missing); }},
        {.name = "FG_SENDSOFTWARETRIGGER",
         .prepare = softwareTrigger,
         .act = [](Board& board) { return board.set(FG_SENDSOFTWARETRIGGER, 3U); },
         .mayChange = isOfTriggersState},
        {.name = "FG_TRIGGER_LEGACY_MODE",
         .prepare = makeRoom,
         .act = [](Board& board) { return board.set(FG_TRIGGER_LEGACY_MODE, std::int32_t{FG_ON}); },
         .swallows = true,
         .mayChange = isOfTrigger},
        {.name = "FG_TRIGGER_LEGACY_MODE",
         .prepare = [](Board& board) { board.change(FG_TRIGGER_LEGACY_MODE, std::int32_t{FG_ON}); },
         .act = [](Board& board) { return board.set(FG_TRIGGER_LEGACY_MODE, std::int32_t{FG_OFF}); },
         .swallows = true,
         .mayChange = isOfTrigger},
    };
    std::set<std::string> swept;
    for (const Operation& operation : operations) {
        swept.insert(operation.name);
    }
    std::vector<std::string> without;
    for (const Parameter& row : host::fixedParameters()) {
        if (!row.isWritable() || swept.contains(row.name)) {
            continue;
        }
        if (auto operation = goodSet(applet_, row)) {
            if (row.category == "Processing") {
                operation->mayChange = isTable;
            }
            operations.push_back(*operation);
        } else if (row.category != "Trigger / Legacy") { // for the test below
            without.push_back(row.name);
        }
    }
    EXPECT_THAT(without, IsEmpty());
    std::uint32_t calls = 0;
    for (const Operation& operation : operations) {
        calls += sweep(operation);
    }
    EXPECT_GE(calls, 250U);
}

TEST_F(FaultSweep, Transitions) {
    constexpr std::uint32_t modes[] = {ATM_GENERATOR, ATM_EXTERNAL, ATM_SOFTWARE};
    constexpr std::uint32_t states[] = {TS_SYNC_STOP, TS_ASYNC_STOP, TS_ACTIVE};
    int withWrites = 0;
    for (const std::uint32_t mode : modes) {
        for (const std::uint32_t state : states) {
            const auto enter = [=](Board& board) {
                makeRoom(board);
                board.change(FG_AREATRIGGERMODE, mode);
                board.change(FG_TRIGGERSTATE, state);
            };
            const std::string from = std::to_string(mode) + "/" + std::to_string(state) + " to ";
            for (size_t i = 0; i < 3; ++i) {
                const auto to = [&](const char* what, std::int32_t id, std::uint32_t value) {
                    return Operation{.name = from + what + std::to_string(value),
                                     .prepare = enter,
                                     .act = [=](Board& board) { return board.set(id, value); },
                                     .mayChange = isOfTriggersState};
                };
                withWrites += sweep(to("mode ", FG_AREATRIGGERMODE, modes[i])) > 0;
                withWrites += sweep(to("state ", FG_TRIGGERSTATE, states[i])) > 0;
            }
        }
    }
    EXPECT_EQ(withWrites, 24);
}

TEST_F(FaultSweep, LegacySetters) {
    // They drive the current set: what of it was changed before the failure stays, and so do the descriptions.
    const auto legacy = [](Board& board) {
        board.change(FG_TRIGGER_LEGACY_MODE, std::int32_t{FG_ON});
        board.change(FG_TRIGGERMODE, std::uint32_t{GRABBER_CONTROLLED});
    };
    const auto sweepSet = [&](const Parameter& row, auto value) {
        return sweep({.name = row.name,
                      .prepare = legacy,
                      .act = [&](Board& board) { return board.set(row.id, value); },
                      .mayChange =
                          [](const std::string& name) {
                              return host::findFixedParameter(name)->category != "Trigger / Legacy" &&
                                     isOfTrigger(name);
                          }});
    };
    for (const Parameter& row : host::fixedParameters()) {
        if (row.category != "Trigger / Legacy") {
            continue;
        }
        std::uint32_t calls = 0;
        if (row.kind == ParameterKind::enumeration) {
            for (const host::EnumerationEntry& entry : row.entries) {
                calls += sweepSet(row, entry.value);
            }
        } else if (row.kind == ParameterKind::floatingPoint) {
            calls += sweepSet(row, 20.0);
        } else {
            calls += sweepSet(row, row.id == FG_EXPOSURE ? 2000U : 1U);
        }
        EXPECT_EQ(calls == 0, row.id == FG_PRESCALER) << row.name;
    }
}

TEST_F(FaultSweep, Gets) {
    std::uint32_t calls = 0;
    for (const Parameter& row : host::fixedParameters()) {
        for (const std::uint32_t mode : {ATM_GENERATOR, ATM_SOFTWARE, ATM_EXTERNAL}) {
            calls += sweep({.name = row.name,
                            .prepare =
                                [mode](Board& board) {
                                    board.change(FG_AREATRIGGERMODE, mode);
                                    board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
                                },
                            .act =
                                [&](Board& board) {
                                    std::string place(65536, '\0');
                                    return board.applet()->Fg_getParameterWithType(board, row.id, place.data(), 0, 2);
                                }});
        }
    }
    EXPECT_GE(calls, 60U);
}

TEST_F(FaultSweep, Configurations) {
    const std::string saved = folder_.file("saved.kcf");
    const std::string again = folder_.file("again.kcf");
    {
        Board board(applet_);
        makeRoom(board);
        board.change(FG_WIDTH, 256U);
        board.change(FG_TRIGGER_PULSEFORMGEN1_WIDTH, 100.0);
        ASSERT_EQ(applet_->Fg_saveConfig(board, saved.c_str()), 0);
    }
    const Operation load = {.name = "load",
                            .prepare =
                                [&](Board& board) {
                                    // Once over, so that what a failing load leaves is what it would have brought.
                                    ASSERT_EQ(applet_->Fg_loadConfig(board, saved.c_str()), 0);
                                },
                            .act = [&](Board& board) { return applet_->Fg_loadConfig(board, saved.c_str()); },
                            .swallows = true,
                            .mayChange = isReadBack};
    EXPECT_GE(sweep(load), 150U);

    // A value that cannot be read is saved as it was set: no key is missing.
    const auto linesOf = [&](const std::string& file) {
        const std::string text = readText(file);
        return std::count(text.begin(), text.end(), '\n');
    };
    std::vector<std::ptrdiff_t> lines;
    const Operation save = {.name = "save",
                            .prepare = makeRoom,
                            .act =
                                [&](Board& board) {
                                    const std::int32_t code = applet_->Fg_saveConfig(board, again.c_str());
                                    lines.push_back(linesOf(again));
                                    return code;
                                },
                            .swallows = true};
    EXPECT_EQ(sweep(save), 9U) << "values that are read from the design";
    EXPECT_EQ(lines, std::vector<std::ptrdiff_t>(10, linesOf(saved)));
}

TEST_F(FaultSweep, ShadingCoefficients) {
    const std::filesystem::path images = std::filesystem::path(QELM_TEST_DATA) / "tiff";
    const auto twoFiles = [&](Board& board) {
        board.change(FG_SHADING_BLACK_FILENAME, (images / "im_8_deflate.tiff").string());
        board.change(FG_SHADING_GRAY_FILENAME, (images / "im_16_strips.tiff").string());
    };
    EXPECT_EQ(
        sweep({.name = "apply",
               .prepare = twoFiles,
               .act = [](Board& board) { return board.set(FG_SHADING_APPLY_SETTINGS, std::int32_t{FG_APPLY}); },
               // Found before the coefficients are loaded.
               .mayChange = [](const std::string& name) { return name == "FG_SHADING_GAIN_NORMALIZATION_VALUE"; }}),
        8U);
    ShadingAccess* access = nullptr;
    EXPECT_EQ(sweep({.name = "release of an access",
                     .prepare = [&](Board& board) { access = applet_->Fg_AllocShading(board, 0, 0); },
                     .act =
                         [&](Board& board) {
                             EXPECT_EQ(applet_->Shad_GetAccess(board, access), 0) << "released, whatever failed";
                             return applet_->Shad_FreeAccess(board, access);
                         }}),
              6U);
}

/** With the parameters of the direct access or without. */
class FaultSweepOfStartUp : public FaultSweep, public testing::WithParamInterface<const char*> {
  protected:
    FaultSweepOfStartUp() { enable(GetParam()); }
    ~FaultSweepOfStartUp() override { enable(nullptr); }
    static void enable(const char* value) {
        host::setEnvironment("QELM_ENABLE_DRA", value);
        host::setEnvironment("QELM_ENABLE_DZEA", value);
    }
};

TEST_P(FaultSweepOfStartUp, EveryCall) {
    const Snapshot clean = snapshotOf(Board(applet_));
    for (std::uint32_t position = 1;;
         ++position) { // the first call of all, for the design image, has a test of its own
        SCOPED_TRACE(position);
        control().traceStart();
        control().fail(nullptr, nullptr, nullptr, position, 1, injected);
        std::optional<Board> board;
        std::int32_t code = 0;
        try {
            board.emplace(applet_);
        } catch (const host::AppletError& error) {
            code = error.code();
        }
        control().clearFaults();
        control().traceStop();
        const auto [calls, last] = fallibleCalls();
        // What is refused of the first settings is skipped; without design or runtime there is no board.
        EXPECT_EQ(code, last == "Fg_getLastErrorNumber" ? injected : 0) << last;
        if (board) {
            // Descriptions follow settings that were accepted, and nothing is read from what was not found.
            Snapshot snapshot = snapshotOf(*board);
            for (auto& [id, told] : snapshot) {
                const Answer& usual = clean.at(id);
                told.description = usual.description;
                told = told.code == 0 ? told : usual;
            }
            std::vector<std::string> changed = differences(clean, snapshot);
            std::erase_if(changed, isReadBack);
            std::erase(changed, "FG_TRIGGERQUEUE_MODE"); // on until start-up has switched it off
            EXPECT_THAT(changed, IsEmpty()) << last;
            expectTidy(1);
            EXPECT_EQ(board->set(FG_TIMEOUT, 3U), 0);
            board.reset();
        }
        expectTidy(0);
        if (calls <= position) {
            EXPECT_GE(position, 300U);
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(DirectAccess, FaultSweepOfStartUp, testing::Values(nullptr, "on"),
                         [](const auto& value) { return value.param == nullptr ? "Off" : "On"; });

} // namespace
} // namespace qelm::test
