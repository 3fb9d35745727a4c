#pragma once

#include "applet/fixture.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <optional>

/** Sweeps of faults: the calls that an operation makes into the vendor libraries fail one after the other. */
namespace qelm::test {

/** What a board answers about a parameter. */
struct Answer {
    std::int32_t code;
    std::string value;       ///< its bytes
    std::string description; ///< limits and access among others

    bool operator==(const Answer&) const = default;
};
using Snapshot = std::map<std::int32_t, Answer>; // by identifier

inline Snapshot snapshotOf(const Board& board) {
    static std::array<char, 65536> place;
    Snapshot snapshot;
    for (const host::Parameter& parameter : host::fixedParameters()) {
        const bool isText =
            parameter.kind == host::ParameterKind::fileName || parameter.kind == host::ParameterKind::text;
        std::fill_n(place.begin(), 8, '\0'); // of the lookup table the first entry
        const std::int32_t code = board.applet()->Fg_getParameterWithType(board, parameter.id, place.data(), 0, 2);
        const char* description = board.applet()->Fg_getParameterInfo(board, parameter.id);
        snapshot[parameter.id] = {code, std::string(place.data(), isText ? std::strlen(place.data()) : 8),
                                  description == nullptr ? "" : description};
    }
    return snapshot;
}

/** The names of the parameters that differ. */
inline std::vector<std::string> differences(const Snapshot& one, const Snapshot& other) {
    std::vector<std::string> names;
    for (const host::Parameter& parameter : host::fixedParameters()) {
        if (one.at(parameter.id) != other.at(parameter.id)) {
            names.push_back(parameter.name);
        }
    }
    return names;
}

struct Operation {
    std::string name;
    std::function<void(Board& board)> prepare;
    std::function<std::int32_t(Board& board)> act;
    bool swallows = false; ///< answers 0 whatever fails, by design
    /** What a failure may leave changed, by name: values found out from the design, and what other setters had done. */
    std::function<bool(const std::string& name)> mayChange = [](const std::string&) { return false; };
};

class FaultSweep : public testing::Test {
  protected:
    const host::VirtualBoardFunctions& control() const { return *applet_.virtualBoard(); }

    /** How many calls the trace holds that could have failed, and the last of these. */
    std::pair<std::uint32_t, std::string> fallibleCalls() const {
        std::pair<std::uint32_t, std::string> calls;
        for (std::size_t position = 0; position < control().traceLength(); ++position) {
            const std::string call = control().traceAt(position)->call;
            if (call != "freeImage" && call != "releaseDesignImage") {
                ++calls.first;
                calls.second = call;
            }
        }
        return calls;
    }

    static int reports() { return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count(); }

    void expectTidy(std::int32_t boards) const {
        const VirtualBoardResources open = control().resources();
        EXPECT_EQ(open.boards, before_.boards + boards);
        EXPECT_EQ(open.runtimeHandles, before_.runtimeHandles + boards);
        EXPECT_EQ(open.designImages, before_.designImages + boards);
        EXPECT_EQ(open.imageBuffers, before_.imageBuffers);
        EXPECT_EQ(folder_.leftOver(), 0);
    }

    /** @return how many calls the operation makes */
    std::uint32_t sweep(const Operation& operation) {
        std::optional<Board> board;
        Snapshot before;
        const int reportsBefore = reports();
        for (std::uint32_t position = 0;; ++position) {
            SCOPED_TRACE(operation.name + ", call " + std::to_string(position));
            if (!board) {
                board.emplace(applet_);
                operation.prepare(*board);
                before = snapshotOf(*board);
            }
            control().traceStart();
            control().fail(nullptr, nullptr, nullptr, position, 1, injected);
            const std::int32_t code = operation.act(*board);
            control().clearFaults();
            control().traceStop();
            const auto [calls, last] = fallibleCalls();
            const std::int32_t lastCode = lastError(*board);
            expectTidy(1);
            if (calls <= position) {
                EXPECT_EQ(code, 0) << "the next try works";
                EXPECT_EQ(lastCode, 0);
                return position;
            }
            if (operation.swallows) {
                EXPECT_EQ(code, 0);
            } else {
                EXPECT_EQ(calls, position + 1) << "nothing follows";
                EXPECT_EQ(code, last == "readImage"    ? FG_ERROR_FILE_NOT_FOUND
                                : last == "writeImage" ? FG_ERROR_SYSTEM
                                                       : injected);
            }
            EXPECT_EQ(lastCode, code);
            std::vector<std::string> changed = differences(before, snapshotOf(*board));
            const bool asBefore = changed.empty();
            std::erase_if(changed, operation.mayChange);
            EXPECT_THAT(changed, IsEmpty());
            if (reports() != reportsBefore) {
                return position; // one for the operation, not one for each call
            }
            if (!asBefore) {
                board.reset();
            }
        }
    }

    TemporaryFolder folder_;
    Applet applet_;
    VirtualBoardResources before_ = control().resources(); // a runtime without the means to free leaves handles behind
};

} // namespace qelm::test
