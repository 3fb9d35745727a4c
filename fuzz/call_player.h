#pragma once

#include "qelm/host/board.h"
#include "qelm/host/parameters.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace qelm::fuzz {

/** What must hold does not; the text says what. */
class BrokenInvariant : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

/**
 * Plays calls of the applet's exports on one virtual board, one at a time as `choose` decides, and checks after
 * every few what must hold: partners fit each other, the design has what the settings say, descriptions follow the
 * settings.
 *
 * Files stay in one folder. Coefficient planes, which take a quarter of a gigabyte, are left out.
 */
class CallPlayer {
  public:
    /** Gives a number from 0 to the one before its argument. */
    using Choose = std::function<std::uint32_t(std::uint32_t limit)>;

    CallPlayer(const host::Applet& applet, std::filesystem::path folder, Choose choose);

    /** Makes one call. @throws BrokenInvariant */
    void play();
    /** Checks once more, at the end of a game. @throws BrokenInvariant */
    void check();

  private:
    void set();
    void get();
    void lookUp();
    void configuration();
    void passTime();
    void failACall();

    std::uint32_t chooseNumber(const host::Parameter& parameter);
    double chooseDouble(const host::Parameter& parameter);
    void changed(std::int32_t id);
    void checkDesign();
    void checkDescriptions();
    void require(bool condition, const char* what) const;
    std::uint32_t number(std::int32_t id) const;
    const host::VirtualBoardFunctions& control() const { return *board_->applet().virtualBoard(); }

    const host::Applet& applet_;
    std::filesystem::path folder_;
    Choose choose_;
    std::optional<host::Board> board_;
    std::vector<char> place_;                // what a get writes into
    std::set<std::int32_t> unknownInDesign_; // settings whose design values a fault or a load may have left behind
    bool descriptionsFollow_ = true;         // not after a fault or a load, which may bring values that no set takes
    std::uint32_t calls_ = 0;
    std::string last_; // the call, for reports
};

} // namespace qelm::fuzz
