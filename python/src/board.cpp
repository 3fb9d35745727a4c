#include "board.h"

#include "frames.h"

#include "qelm/host/camera.h"
#include "qelm/host/lookup_table.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <cmath>

namespace py = pybind11;

namespace qelm::python {
namespace {

/** Where the package and the libraries stand, built or installed. */
std::filesystem::path libraryFolder() {
    const auto package =
        std::filesystem::path(py::module_::import("qelm").attr("__file__").cast<std::string>()).parent_path();
    for (const char* folder : {".", QELM_LIBRARIES_FROM_BUILT_PACKAGE, QELM_LIBRARIES_FROM_INSTALLED_PACKAGE}) {
        const std::filesystem::path found = package / folder;
        if (std::filesystem::exists(found / host::Applet::defaultFile().filename())) {
            return found;
        }
    }
    throw Refusal("the applet is neither beside the package in " + package.string() +
                  " nor among the libraries that it was built or installed with; name it: Board(applet=...)");
}

std::filesystem::path appletFile(const std::string& applet) {
    return applet.empty() ? libraryFolder() / host::Applet::defaultFile().filename() : std::filesystem::path(applet);
}

std::string kindOf(const py::object& value) {
    return py::type::of(value).attr("__name__").cast<std::string>();
}

/** What Python counts as a whole number: int, bool, IntEnum, NumPy's integers. */
std::optional<py::int_> wholeNumber(const py::object& value) {
    if (PyIndex_Check(value.ptr()) == 0) {
        return std::nullopt;
    }
    return py::reinterpret_steal<py::int_>(PyNumber_Index(value.ptr()));
}

/** @return nothing when it is negative or too large */
std::optional<std::uint64_t> toUnsigned(const py::int_& number) {
    const std::uint64_t value = PyLong_AsUnsignedLongLong(number.ptr());
    if (PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        return std::nullopt;
    }
    return value;
}

std::uint64_t nanoseconds(double seconds) {
    constexpr double most = 1e9; // of seconds: three decades
    if (!(seconds >= 0 && seconds <= most)) {
        throw py::value_error("a time is 0 to 1e9 seconds");
    }
    return static_cast<std::uint64_t>(std::llround(seconds * 1e9));
}

} // namespace

Board::Board(const std::string& applet, std::string camera, std::string scene)
    : applet_(appletFile(applet))
    , camera_(std::move(camera))
    , scene_(std::move(scene)) {
    if (applet_.virtualBoard() == nullptr) {
        throw Refusal(applet_.file().string() + " runs on the libraries of another board; this package drives virtual "
                                                "boards alone");
    }
    board_ = std::make_unique<host::Board>(applet_);
    inOrder_ = host::registeredParameters(*board_);
    const py::dict enumerations = py::module_::import("qelm.enumerations").attr("BY_PARAMETER");
    for (const host::Parameter& parameter : inOrder_) {
        Known known{parameter};
        const py::str name(parameter.name);
        const py::object type = enumerations.contains(name) ? py::object(enumerations[name]) : py::none();
        for (const host::EnumerationEntry& entry : parameter.entries) {
            if (!type.is_none() && py::hasattr(type, entry.name.c_str())) {
                known.symbols.emplace_back(entry.value, type.attr(entry.name.c_str()));
            }
        }
        parameters_.emplace(parameter.name, std::move(known));
    }
    connectCamera(*board_); // so that what is wrong about camera or scene is told at once
}

Board::~Board() {
    close();
}

void Board::close() {
    const py::gil_scoped_release release;
    closing_ = true;
    const std::unique_lock lock(inUse_);
    const std::lock_guard acquisitionsLock(acquisitionsMutex_);
    for (Frames* frames : acquisitions_) {
        frames->end();
    }
    board_.reset();
}

void Board::add(Frames* frames) {
    const std::lock_guard lock(acquisitionsMutex_);
    acquisitions_.insert(frames);
}

void Board::remove(Frames* frames) {
    const std::lock_guard lock(acquisitionsMutex_);
    acquisitions_.erase(frames);
}

const Board::Known& Board::find(std::string_view name) const {
    const auto found = parameters_.find(name);
    if (found == parameters_.end()) {
        try {
            host::findParameter(inOrder_, name); // says which name is near
        } catch (const host::AppletError& error) {
            Refusal refusal(error.what());
            refusal.type = "UnknownName";
            refusal.code = error.code();
            refusal.parameter = name;
            throw refusal;
        }
    }
    return found->second;
}

std::vector<std::string> Board::names() const {
    std::vector<std::string> names;
    for (const host::Parameter& parameter : inOrder_) {
        names.push_back(parameter.name);
    }
    return names;
}

host::Parameter Board::information(std::string_view name) const {
    const Known& known = find(name);
    const py::gil_scoped_release release;
    return use([&](const host::Board& board) { return host::withCurrentLimits(board, known.parameter); });
}

py::object Board::symbol(std::string_view name, std::int32_t value) const {
    for (const auto& [number, symbol] : find(name).symbols) {
        if (number == value) {
            return symbol;
        }
    }
    return py::int_(value);
}

py::object Board::get(std::string_view name) const {
    const Known& known = find(name);
    if (known.parameter.kind == host::ParameterKind::lutEntry) {
        Refusal refusal(known.parameter.name + " is a table: read it by board.lut");
        refusal.parameter = known.parameter.name;
        throw refusal;
    }
    host::Value value;
    try {
        const py::gil_scoped_release release;
        value = use([&](const host::Board& board) { return host::readValue(board, {&known.parameter}); });
    } catch (const host::AppletError& error) {
        Refusal refusal(error.what());
        refusal.code = error.code();
        refusal.parameter = known.parameter.name;
        throw refusal;
    }
    if (const auto* number = std::get_if<std::uint32_t>(&value)) {
        for (const auto& [entry, symbol] : known.symbols) {
            if (static_cast<std::uint32_t>(entry) == *number) {
                return symbol;
            }
        }
        return py::int_(*number);
    }
    if (const auto* wide = std::get_if<std::uint64_t>(&value)) {
        return py::int_(*wide);
    }
    if (const auto* real = std::get_if<double>(&value)) {
        return py::float_(*real);
    }
    const auto& text = std::get<std::string>(value);
    return py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "surrogateescape"));
}

host::Assignment Board::assignment(const Known& known, const py::object& value) const {
    const host::Parameter& parameter = known.parameter;
    const auto wrongType = [&](const char* wanted) {
        return py::type_error(parameter.name + " takes " + wanted + ", not " + kindOf(value));
    };
    const bool isText = py::isinstance<py::str>(value);
    switch (parameter.kind) {
    case host::ParameterKind::lutEntry:
        throw py::type_error(parameter.name + " is a table: write it by board.lut");
    case host::ParameterKind::text:
    case host::ParameterKind::fileName: {
        const py::object path = py::module_::import("os").attr("fspath")(value); // a TypeError names what it got
        if (!py::isinstance<py::str>(path)) {
            throw wrongType("a str or a path");
        }
        return {{&parameter}, py::module_::import("os").attr("fsencode")(path).cast<std::string>()};
    }
    case host::ParameterKind::floatingPoint:
        if (isText) {
            break;
        }
        if (const double number = PyFloat_AsDouble(value.ptr()); PyErr_Occurred() == nullptr) {
            return {{&parameter}, number};
        }
        PyErr_Clear();
        throw wrongType("a number");
    default: {
        if (isText) {
            break;
        }
        const auto number = wholeNumber(value);
        if (!number) {
            throw wrongType(parameter.kind == host::ParameterKind::enumeration ? "a symbolic name or its number"
                                                                               : "a whole number");
        }
        const auto wide = toUnsigned(*number);
        if (wide && parameter.kind == host::ParameterKind::wideInteger) {
            return {{&parameter}, *wide};
        }
        if (wide && *wide <= UINT32_MAX) {
            return {{&parameter}, static_cast<std::uint32_t>(*wide)};
        }
        // Beyond the type: refused as the same number in a text is.
        return host::parseAssignment(inOrder_, parameter.name + "=" + py::str(py::object(*number)).cast<std::string>());
    }
    }
    try {
        return host::parseAssignment(inOrder_, parameter.name + "=" + value.cast<std::string>());
    } catch (const host::SyntaxError& error) {
        throw py::type_error(error.what());
    }
}

void Board::set(std::string_view name, const py::object& value) {
    const Known& known = find(name);
    try {
        const host::Assignment wanted = assignment(known, value);
        const py::gil_scoped_release release;
        use([&](host::Board& board) { host::writeValue(board, wanted); });
    } catch (const host::AppletError& error) {
        Refusal refusal(error.what());
        refusal.code = error.code();
        refusal.parameter = known.parameter.name;
        refusal.allowed = information(name).allowedValues();
        throw refusal;
    }
    if (known.parameter.id == FG_TRIGGERSTATE || known.parameter.id == FG_TRIGGERMODE) {
        triggersDecided_ = true;
    }
}

std::vector<std::uint32_t> Board::lookupTable() const {
    return use([](const host::Board& board) { return host::readLookupTable(board); });
}

void Board::setLookupTable(std::uint32_t first, const std::vector<std::uint32_t>& values) {
    if (std::ranges::any_of(values, [](std::uint32_t value) { return value > host::largestLookupValue; })) {
        Refusal refusal("an entry of the lookup table is 0 to 4095");
        refusal.code = FG_ERROR_OUT_OF_RANGE;
        refusal.parameter = "FG_LUT_VALUE";
        refusal.allowed = "0 to 4095";
        throw refusal;
    }
    use([&](host::Board& board) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            board.change(FG_LUT_VALUE, LutEntry{values[i], first + static_cast<std::uint32_t>(i)});
        }
    });
}

void Board::load(const std::string& file) {
    use([&](host::Board& board) {
        if (const std::int32_t code = applet_->Fg_loadConfig(board, host::systemFileName(file).c_str()); code < 0) {
            throw host::AppletError(code, "loading \"" + file + "\" was refused");
        }
    });
    triggersDecided_ = true;
}

void Board::save(const std::string& file) {
    use([&](host::Board& board) {
        if (const std::int32_t code = applet_->Fg_saveConfig(board, host::systemFileName(file).c_str()); code < 0) {
            throw host::AppletError(code, "saving \"" + file + "\" failed");
        }
    });
}

template <class Function, class... Arguments>
void Board::require(Function function, const char* attempt, Arguments... arguments) const {
    use([&](const host::Board& board) {
        if (const std::int32_t code = function(board.virtualBoard(), arguments...); code != 0) {
            throw host::AppletError(code, attempt);
        }
    });
}

void Board::advance(double seconds) {
    constexpr std::uint64_t piece = 100'000'000; // nanoseconds, until Python is asked for signals
    for (std::uint64_t left = nanoseconds(seconds); left != 0;) {
        const std::uint64_t now = std::min(left, piece);
        {
            const py::gil_scoped_release release;
            require(control().advance, "letting time pass failed", now);
        }
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        left -= now;
    }
}

std::uint64_t Board::time() const {
    std::uint64_t now = 0;
    require(control().getTime, "reading the time failed", &now);
    return now;
}

void Board::setInput(std::uint32_t pin, bool level) {
    require(control().setInput, "there are trigger inputs 0 to 7: driving another", pin, level ? 1 : 0);
}

void Board::recordEvents(bool record) {
    require(control().recordEvents, "recording events failed", record ? 1 : 0);
}

template <class Record, class Count, class At, class Keep>
void Board::readRecorded(std::size_t position, Count count, At at, Keep&& keep) const {
    use([&](const host::Board& board) { // which the names of events belong to
        const auto check = [](std::int32_t code) {
            if (code != 0) {
                throw host::AppletError(code, "reading what was recorded failed");
            }
        };
        std::size_t end = 0;
        for (check(count(board.virtualBoard(), &end)); position < end; ++position) {
            Record record{};
            check(at(board.virtualBoard(), position, &record));
            keep(record);
        }
    });
}

std::vector<Board::Event> Board::eventsFrom(std::size_t position) const {
    std::vector<Event> events;
    readRecorded<VirtualBoardEvent>(position, control().eventCount, control().eventAt, [&](const auto& event) {
        events.push_back({event.name, event.mask, event.nanoseconds});
    });
    return events;
}

void Board::recordSignals(bool record) {
    require(control().recordSignals, "recording signals failed", record ? 1 : 0);
}

std::vector<VirtualBoardSignalChange> Board::signalsFrom(std::size_t position) const {
    std::vector<VirtualBoardSignalChange> changes;
    readRecorded<VirtualBoardSignalChange>(position, control().signalChangeCount, control().signalChangeAt,
                                           [&](const auto& change) { changes.push_back(change); });
    return changes;
}

void Board::startTrace() {
    use([](host::Board& board) { board.clearTrace(); });
}

void Board::stopTrace() {
    control().traceStop();
}

std::vector<host::TracedCall> Board::trace() const {
    return use([](const host::Board& board) { return board.trace(); });
}

void Board::fail(const std::optional<std::string>& call, const std::optional<std::string>& target, std::uint32_t skip,
                 std::uint32_t count, std::int32_t code) {
    use([&](const host::Board& board) {
        control().fail(board.virtualBoard(), call ? call->c_str() : nullptr, target ? target->c_str() : nullptr, skip,
                       count, code);
    });
}

void Board::clearFaults() {
    control().clearFaults();
}

void Board::writePicture(const std::string& file, const py::buffer& picture) const {
    const py::buffer_info info = picture.request();
    const bool isBytes = info.format == py::format_descriptor<std::uint8_t>::format();
    if (info.ndim != 2 || (!isBytes && info.format != py::format_descriptor<std::uint16_t>::format())) {
        throw py::type_error("a picture has the shape (height, width) and the type uint8 or uint16");
    }
    if (info.strides[1] != info.itemsize || info.strides[0] != info.itemsize * info.shape[1]) {
        throw py::type_error("a picture has its rows without gaps: numpy.ascontiguousarray makes one");
    }
    const py::gil_scoped_release release;
    const std::int32_t code = control().writePicture(file.c_str(), info.ptr, static_cast<std::int32_t>(info.shape[1]),
                                                     static_cast<std::int32_t>(info.shape[0]), isBytes ? 8 : 16);
    if (code != 0) {
        throw Refusal("writing \"" + file + "\" failed");
    }
}

std::string Board::connectCamera(const host::Board& board) {
    const host::CameraMatch camera = host::matchCamera(board, camera_);
    if (camera.options != connected_) {
        try {
            host::connectCamera(board, camera.options, scene_);
        } catch (const std::runtime_error& error) {
            throw Refusal(error.what());
        }
        connected_ = camera.options;
    }
    return camera.mismatch;
}

std::string Board::prepareAcquisition() {
    return use([this](host::Board& board) {
        const std::string mismatch = connectCamera(board);
        if (!triggersDecided_ && board.get<std::uint32_t>(FG_TRIGGER_LEGACY_MODE) == FG_OFF) {
            board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
        }
        return mismatch;
    });
}

} // namespace qelm::python
