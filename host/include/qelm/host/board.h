#pragma once

#include "qelm/host/applet.h"
#include "qelm/host/errors.h"

#include "zantor_obvelline_qx4_rk/enumerations.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <vector>

namespace qelm::host {

/** The types of parameter values at the boundary. */
template <class T>
concept ParameterValue =
    std::same_as<T, std::uint32_t> || std::same_as<T, std::int32_t> || std::same_as<T, std::uint64_t> ||
    std::same_as<T, double> || std::same_as<T, std::string> || std::same_as<T, LutEntry>;

/** How a board is opened. */
struct BoardOptions {
    /**
     * The board pointer for Std_entry, which stays the caller's. Null: a new virtual board, or, where the applet runs
     * on other libraries, some address, which is all that they need to tell boards apart.
     */
    void* handle = nullptr;
    std::int32_t mode = 0;
};

/** One call into the vendor libraries, as the virtual board recorded it. */
struct TracedCall {
    std::string call;
    std::string target; ///< design parameter, register or runtime parameter; an element as "name[2]"
    std::string value;
    std::int64_t result;
    bool isWrite;

    /** "target=value", and the code when the board refused the call. */
    std::string text() const;
};

/**
 * A board with the applet running on it: the part of the acquisition runtime that an application sees. The destructor
 * frees it. Any number of boards may be open side by side.
 *
 * Accesses either return the code (`set`, `get` into a variable) or throw an AppletError (`get` with a result,
 * `change`). Names go through the applet, so that its direct-access parameters are known too.
 */
class Board {
  public:
    /** Starts the applet. @throws AppletError with the code of Std_entry */
    explicit Board(const Applet& applet, const BoardOptions& options = {});
    ~Board();
    Board(Board&& other) noexcept;
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;
    Board& operator=(Board&&) = delete;

    const Applet& applet() const { return *applet_; }
    /** What the exports take: `applet->Fg_getNrOfParameter(board)`. */
    operator BoardStructure*() const { return &structure_; }
    /** The board pointer that Std_entry got. */
    void* handle() const { return handle_; }
    /** The handle for the virtual board's control surface; null on another board. */
    VirtualBoard* virtualBoard() const;
    /** Frees the board now; everything that follows answers -2001. @return the code of Fg_FreeGrabber */
    std::int32_t free();

    /* Codes: 0 or a negative error code. */

    std::int32_t set(std::int32_t id, std::uint32_t value);
    std::int32_t set(std::int32_t id, std::int32_t value);
    std::int32_t set(std::int32_t id, std::uint64_t value);
    std::int32_t set(std::int32_t id, double value);
    std::int32_t set(std::int32_t id, const char* value);
    std::int32_t set(std::int32_t id, const std::string& value) { return set(id, value.c_str()); }
    std::int32_t set(std::int32_t id, const LutEntry& value);

    std::int32_t get(std::int32_t id, std::uint32_t& value) const;
    std::int32_t get(std::int32_t id, std::int32_t& value) const;
    std::int32_t get(std::int32_t id, std::uint64_t& value) const;
    std::int32_t get(std::int32_t id, double& value) const;
    /** @param value handed over as it is: 24114 takes a parameter's name and answers its description */
    std::int32_t get(std::int32_t id, std::string& value) const;
    /** @param value its index says which entry is wanted */
    std::int32_t get(std::int32_t id, LutEntry& value) const;

    /** The identifier of a name, or a negative error code. */
    std::int32_t findId(const char* name) const;

    template <class T>
    std::int32_t set(const char* name, const T& value) {
        const std::int32_t id = findId(name);
        return id < 0 ? id : set(id, value);
    }
    template <ParameterValue T>
    std::int32_t get(const char* name, T& value) const {
        const std::int32_t id = findId(name);
        return id < 0 ? id : get(id, value);
    }

    /* Exceptions. `Key` is an identifier or a name. */

    template <ParameterValue T, class Key>
    T get(const Key& key) const {
        T value{};
        if (const std::int32_t code = get(key, value); code < 0) {
            throw AppletError(code, "reading " + nameOf(key) + " was refused");
        }
        return value;
    }
    template <class T, class Key>
    void change(const Key& key, const T& value) {
        if (const std::int32_t code = set(key, value); code < 0) {
            throw AppletError(code, "setting " + nameOf(key) + " was refused");
        }
    }

    /* Trace, on a virtual board alone: elsewhere these throw a std::logic_error. */

    /** Starts the trace anew, for all boards of the process: there is one. */
    void clearTrace();
    /** The calls in the trace that concern this board. */
    std::vector<TracedCall> trace() const;
    /** The texts of the writes among them: "Device1_Process0_Buffer_0_ROI_X_Length=512", "AAGenWidth=256",
     * "FG_TIMEOUT=5". */
    std::vector<std::string> writes() const;

  private:
    static std::string nameOf(std::int32_t id);
    static std::string nameOf(const char* name) { return name; }
    const VirtualBoardFunctions& requireVirtualBoard() const;

    const Applet* applet_;
    VirtualBoard* ownedBoard_ = nullptr;
    void* handle_;
    mutable BoardStructure structure_{};
    size_t textCapacity_; // room for any text that a getter may copy out: it knows no bound
};

} // namespace qelm::host
