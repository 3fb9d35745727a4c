#pragma once

#include "qelm/host/board.h"
#include "qelm/host/parameters.h"
#include "qelm/host/system.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

/** What the applet's boundary tests share: an applet on a virtual board, reached through its exports alone. */
namespace qelm::test {

using host::Applet;
using host::Board;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

/** The code that injected faults answer; none that applet or board would give by themselves. */
constexpr std::int32_t injected = -4711;

inline std::int32_t lastError(const Board& board) {
    return board.applet()->Fg_getLastErrorNumber(board);
}

/** How many parameters every board has. */
inline const auto fixedCount = static_cast<std::int32_t>(host::fixedParameters().size());

/** The file of a runtime that lacks functions; see the virtual board's build for what each lacks. */
inline std::filesystem::path runtimeVariant(const char* name) {
    return host::executableFolder() / "runtime_variants" / name / host::libraryFileName("nuvrak5");
}

/** The writes that `action` makes on the board, in order, as "target=value". */
template <typename Action>
std::vector<std::string> writesOf(Board& board, Action&& action) {
    board.clearTrace();
    action();
    std::vector<std::string> writes = board.writes();
    board.applet().virtualBoard()->traceStop();
    return writes;
}

/** A parameter's limits as its applet states them now. */
inline host::Parameter described(const Board& board, const char* name) {
    return host::withCurrentLimits(board, *host::findFixedParameter(name));
}
inline double maximumOf(const Board& board, const char* name) {
    return described(board, name).maximum;
}

/** One board with the applet started on it. */
class BoardTest : public testing::Test {
  protected:
    const host::VirtualBoardFunctions& control() const { return *applet_.virtualBoard(); }

    /** Sets a design parameter as the hardware would. */
    void poke(const std::string& name, std::uint32_t value) {
        ASSERT_EQ(control().setDesignValue(board_.virtualBoard(), name.c_str(), 0, value), 0) << name;
    }
    std::uint32_t peek(const std::string& name, std::uint32_t element = 0) const {
        std::uint32_t value = 0;
        EXPECT_EQ(control().getDesignValue(board_.virtualBoard(), name.c_str(), element, &value), 0) << name;
        return value;
    }
    std::uint64_t peekRegister(const char* name) const {
        std::uint64_t value = 0;
        EXPECT_EQ(control().getRegister(board_.virtualBoard(), name, &value), 0) << name;
        return value;
    }

    /** Sets a parameter, which has to succeed; @return the writes that it made. */
    template <typename Value>
    std::vector<std::string> writesOfSet(std::int32_t id, Value value) {
        return writesOf(board_, [&] { EXPECT_EQ(board_.set(id, value), 0) << id << " = " << value; });
    }

    /** A set that has to be refused before anything happens: the code comes back, nothing is kept or written. */
    template <typename Value>
    void expectRefused(std::int32_t id, Value value, std::int32_t code) {
        SCOPED_TRACE(testing::Message() << id << " = " << value);
        const Value before = board_.get<Value>(id);
        EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(id, value), code); }), IsEmpty());
        EXPECT_EQ(lastError(board_), code);
        EXPECT_EQ(board_.get<Value>(id), before);
    }

    /**
     * Lets each write of a set fail in turn: its code comes back, the old value stays, the writes before it stay made
     * and none follows, and the same set works right after. The set must not be a no-change.
     */
    template <typename Value>
    void expectRollBackAtEachWrite(std::int32_t id, Value value) {
        SCOPED_TRACE(testing::Message() << id << " = " << value);
        const Value before = board_.get<Value>(id);
        const std::vector<std::string> complete = writesOfSet(id, value);
        ASSERT_FALSE(complete.empty());
        ASSERT_EQ(board_.set(id, before), 0);
        for (size_t position = 0; position < complete.size(); ++position) {
            control().fail(board_.virtualBoard(), nullptr, nullptr, static_cast<std::uint32_t>(position), 1, injected);
            std::vector<std::string> expected(complete.begin(),
                                              complete.begin() + static_cast<std::ptrdiff_t>(position) + 1);
            expected.back() += " refused with " + std::to_string(injected);
            EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(id, value), injected); }),
                        ElementsAreArray(expected));
            control().clearFaults();
            EXPECT_EQ(lastError(board_), injected);
            EXPECT_EQ(board_.get<Value>(id), before);
        }
        EXPECT_THAT(writesOfSet(id, value), ElementsAreArray(complete));
        EXPECT_EQ(board_.get<Value>(id), value);
    }

    Applet applet_;
    Board board_{applet_};
};

} // namespace qelm::test
