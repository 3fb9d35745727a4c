#pragma once

#include "errors.h"

#include "qelm/host/board.h"
#include "qelm/host/parameters.h"
#include "qelm/host/values.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qelm::python {

class Frames;

/**
 * A virtual board with the applet running on it, for any number of Python's threads.
 *
 * Methods that may wait run without Python's lock; closing waits for those that run. Nothing here calls Python but to
 * convert values, in the caller's thread.
 */
class Board {
  public:
    /**
     * @param applet empty for the one that comes with the package
     * @param camera, scene as host::matchCamera and host::connectCamera take them
     */
    Board(const std::string& applet, std::string camera, std::string scene);
    ~Board();
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    void close();
    bool isOpen() const { return !closing_; }

    pybind11::object get(std::string_view name) const;
    void set(std::string_view name, const pybind11::object& value);
    std::vector<std::string> names() const;
    bool contains(std::string_view name) const { return parameters_.contains(name); }
    /** The parameter with the limits and the access of now. */
    host::Parameter information(std::string_view name) const;
    /** The symbolic value, where the parameter's enumeration has one; else the number. */
    pybind11::object symbol(std::string_view name, std::int32_t value) const;

    std::vector<std::uint32_t> lookupTable() const;
    /** Entries from `first` on; all or, when one is out of range, none. */
    void setLookupTable(std::uint32_t first, const std::vector<std::uint32_t>& values);

    void load(const std::string& file);
    void save(const std::string& file);

    /** Lets the board's time pass. */
    void advance(double seconds);
    std::uint64_t time() const;
    void setInput(std::uint32_t pin, bool level);

    struct Event {
        std::string name; // a copy: it may outlive the board
        std::uint64_t mask, timestamp;
    };
    void recordEvents(bool record);
    std::vector<Event> eventsFrom(std::size_t position) const;

    void recordSignals(bool record);
    std::vector<VirtualBoardSignalChange> signalsFrom(std::size_t position) const;

    void startTrace();
    void stopTrace();
    std::vector<host::TracedCall> trace() const;

    void fail(const std::optional<std::string>& call, const std::optional<std::string>& target, std::uint32_t skip,
              std::uint32_t count, std::int32_t code);
    void clearFaults();

    /** Writes a grey picture: PNG when the name ends in ".png", else TIFF. */
    void writePicture(const std::string& file, const pybind11::buffer& picture) const;

    /**
     * Before an acquisition: connects the camera that fits the settings, and starts the trigger unit unless the program
     * has decided about it. @return a warning when the camera does not fit the settings, else ""
     */
    std::string prepareAcquisition();

    /** Calls `action` with the board while nobody can close it. Without Python's lock. @throws Refusal when closed */
    template <class Action>
    auto use(Action&& action) const {
        const std::shared_lock lock(inUse_);
        if (!isOpen()) {
            throw Refusal("the board is closed");
        }
        return action(*board_);
    }
    /** As `use`, but does nothing when the board is closed. */
    template <class Action>
    void whileOpen(Action&& action) const {
        if (const std::shared_lock lock(inUse_); board_ != nullptr) {
            action();
        }
    }

    /** Acquisitions end when the board is closed. */
    void add(Frames* frames);
    void remove(Frames* frames);

  private:
    struct Known {
        host::Parameter parameter;
        std::vector<std::pair<std::int32_t, pybind11::object>> symbols{};
    };
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    const Known& find(std::string_view name) const;
    host::Assignment assignment(const Known& known, const pybind11::object& value) const;
    std::string connectCamera(const host::Board& board);
    const host::VirtualBoardFunctions& control() const { return *applet_.virtualBoard(); }
    /** Calls a control of the virtual board. */
    template <class Record, class Count, class At, class Keep>
    void readRecorded(std::size_t position, Count count, At at, Keep&& keep) const;
    template <class Function, class... Arguments>
    void require(Function function, const char* attempt, Arguments... arguments) const;

    host::Applet applet_;
    mutable std::shared_mutex inUse_; // shared by calls, alone for closing
    std::unique_ptr<host::Board> board_;
    std::atomic<bool> closing_ = false;
    std::unordered_map<std::string, Known, Hash, std::equal_to<>> parameters_;
    std::vector<host::Parameter> inOrder_;
    std::string camera_, scene_;
    std::string connected_; // the camera that was connected last
    std::atomic<bool> triggersDecided_ = false;
    std::mutex acquisitionsMutex_;
    std::set<Frames*> acquisitions_;
};

} // namespace qelm::python
