// The extension module of the package: boards, acquisitions and frames, without what Python writes better.

#include "board.h"
#include "errors.h"
#include "frames.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

namespace py = pybind11;

namespace qelm::python {
namespace {

using Unlocked = py::call_guard<py::gil_scoped_release>;

/** "HB": what the buffer protocol calls the pixels. */
template <class Pixel>
py::buffer_info bufferOf(const host::Frame& frame) {
    const host::FrameFormat& format = frame.format();
    return {const_cast<std::byte*>(frame.bytes().data()),
            sizeof(Pixel),
            py::format_descriptor<Pixel>::format(),
            2,
            {format.height, format.width},
            {static_cast<py::ssize_t>(format.bytesPerRow()), static_cast<py::ssize_t>(sizeof(Pixel))},
            /*readonly=*/true};
}

py::buffer_info bufferOf(const host::Frame& frame) {
    return frame.format().bits == 8 ? bufferOf<std::uint8_t>(frame) : bufferOf<std::uint16_t>(frame);
}

/** A view that keeps the frame, and its memory, alive. */
py::object arrayOf(const py::object& self) {
    const py::buffer_info info = bufferOf(self.cast<const host::Frame&>());
    const py::array array(py::dtype(info), info.shape, info.strides, info.ptr, self);
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

/** A limit in the parameter's own type; None without a range. */
py::object limit(const host::Parameter& parameter, double value) {
    if (!parameter.hasRange()) {
        return py::none();
    }
    if (parameter.kind == host::ParameterKind::floatingPoint) {
        return py::float_(value);
    }
    return py::int_(static_cast<long long>(value));
}

void defineRecords(py::module_& module) {
    py::class_<host::EnumerationEntry>(module, "Entry", "One value of an enumeration.")
        .def_readonly("name", &host::EnumerationEntry::name, "Symbolic name, as in \"FG_GRAY16\".")
        .def_readonly("value", &host::EnumerationEntry::value, "The number that stands for it.")
        .def_readonly("text", &host::EnumerationEntry::text, "What user interfaces show.")
        .def("__repr__", [](const host::EnumerationEntry& entry) {
            return "Entry(" + entry.name + " = " + std::to_string(entry.value) + ")";
        });

    py::class_<host::Parameter>(module, "Parameter",
                                "What is known about a parameter besides its value; limits and access are those at the "
                                "time of asking.")
        .def_readonly("id", &host::Parameter::id, "The number by which the applet knows it.")
        .def_readonly("name", &host::Parameter::name, "Its name, as in \"FG_WIDTH\".")
        .def_readonly("description", &host::Parameter::description, "A sentence on it; may be empty.")
        .def_readonly("category", &host::Parameter::category, "Where user interfaces show it; may be empty.")
        .def_readonly("display_name", &host::Parameter::displayName, "What user interfaces call it; may be empty.")
        .def_readonly("unit", &host::Parameter::unit, "Of its value and limits, as in \"pixel\"; may be empty.")
        .def_readonly("entries", &host::Parameter::entries, "The values of an enumeration; empty for all others.")
        .def_property_readonly(
            "kind", [](const host::Parameter& parameter) { return std::string(host::kindName(parameter.kind)); },
            "\"integer\", \"floating point\", \"enumeration\", \"file name\", ...")
        .def_property_readonly(
            "minimum", [](const host::Parameter& parameter) { return limit(parameter, parameter.minimum); },
            "Least value, or None without a range.")
        .def_property_readonly(
            "maximum",
            [](const host::Parameter& parameter) {
                return parameter.kind == host::ParameterKind::wideInteger ? py::object(py::int_(parameter.wideMaximum))
                                                                          : limit(parameter, parameter.maximum);
            },
            "Greatest value, or None without a range.")
        .def_property_readonly(
            "step", [](const host::Parameter& parameter) { return limit(parameter, parameter.increment); },
            "Values are the minimum plus a multiple of it; 0 for continuous ones; None without a range.")
        .def_property_readonly(
            "readable", [](const host::Parameter& parameter) { return (parameter.access & 1) != 0; },
            "Whether it can be read now.")
        .def_property_readonly("writable", &host::Parameter::isWritable, "Whether it can be set now.")
        .def_property_readonly("allowed", &host::Parameter::allowedValues,
                               "The values that it takes now, in words; empty when that is not known.")
        .def("__repr__", [](const host::Parameter& parameter) {
            const std::string allowed = parameter.allowedValues();
            return "Parameter(" + parameter.name + (allowed.empty() ? "" : ": " + allowed) + ")";
        });

    py::class_<Board::Event>(module, "Event", "An event that the board raised.")
        .def_readonly("name", &Board::Event::name, "The design's own name of it.")
        .def_readonly("mask", &Board::Event::mask, "Its bit among all events; 0 beyond the 64th.")
        .def_readonly("timestamp", &Board::Event::timestamp, "When, in nanoseconds of the board's time.")
        .def("__repr__", [](const Board::Event& event) {
            return "Event(" + event.name + " at " + std::to_string(event.timestamp) + " ns)";
        });

    py::class_<VirtualBoardSignalChange>(module, "SignalChange", "A signal of the trigger unit took another value.")
        .def_readonly("signal", &VirtualBoardSignalChange::signal, "The signal's number: see qelm.SIGNALS.")
        .def_readonly("value", &VirtualBoardSignalChange::value, "From now on: a level of 0 or 1, or a queue's length.")
        .def_readonly("timestamp", &VirtualBoardSignalChange::nanoseconds, "When, in nanoseconds of the board's time.");

    py::class_<host::TracedCall>(module, "Call", "A call of the applet into the vendor libraries.")
        .def_readonly("call", &host::TracedCall::call, "The library's function.")
        .def_readonly("target", &host::TracedCall::target, "Design parameter, register or runtime parameter.")
        .def_readonly("value", &host::TracedCall::value, "What was handed over or came back, as text.")
        .def_readonly("result", &host::TracedCall::result, "What the library answered.")
        .def_readonly("is_write", &host::TracedCall::isWrite, "Whether it changes the board.")
        .def("__repr__", [](const host::TracedCall& call) { return "Call(" + call.call + " " + call.text() + ")"; });
}

void defineFrame(py::module_& module) {
    const auto information = [](auto member) {
        return [member](const host::Frame& frame) { return frame.information().*member; };
    };
    using Information = host::FrameInformation;
    py::class_<host::Frame>(module, "Frame", py::buffer_protocol(),
                            "A picture. It never changes, and keeps its memory for as long as somebody refers to it or "
                            "to a view of it, the board being open or not.")
        .def_buffer([](const host::Frame& frame) { return bufferOf(frame); })
        .def_property_readonly("array", &arrayOf,
                               "The pixels as a read-only NumPy array of the shape (height, width), uint8 or uint16; a "
                               "view, not a copy.")
        .def_property_readonly("number", information(&Information::number),
                               "From 1, since the start of the acquisition.")
        .def_property_readonly("timestamp", information(&Information::timestamp),
                               "When the camera had sent it: nanoseconds of the board's time.")
        .def_property_readonly("trigger_time", information(&Information::triggerTime),
                               "When its exposure began, likewise.")
        .def_property_readonly("lost", information(&Information::lost),
                               "Frames since the start that the board had no room for.")
        .def_property_readonly("missing", information(&Information::missing),
                               "Triggers since the start that the camera did not answer with a frame.")
        .def_property_readonly("skipped", information(&Information::skipped),
                               "Frames that were left out or overwritten before this one was taken.")
        .def_property_readonly(
            "width", [](const host::Frame& frame) { return frame.format().width; }, "Pixels of a row.")
        .def_property_readonly(
            "height", [](const host::Frame& frame) { return frame.format().height; }, "Rows.")
        .def_property_readonly(
            "bits", [](const host::Frame& frame) { return frame.format().bits; }, "That a pixel takes: 8 or 16.")
        .def_property_readonly(
            "full_scale", [](const host::Frame& frame) { return frame.format().fullScale; },
            "What white is: 255, 4095 (12 bits, right-aligned) or 65520 (left-aligned).")
        .def("__repr__", [](const host::Frame& frame) {
            const host::FrameFormat& format = frame.format();
            return "Frame(" + std::to_string(frame.number()) + ", " + std::to_string(format.width) + " x " +
                   std::to_string(format.height) + ", " + std::to_string(format.bits) + " bits)";
        });

    py::class_<Frames>(module, "Frames",
                       "A running acquisition: an iterator over its frames, and a context manager that ends it.")
        .def(py::init<std::shared_ptr<Board>, std::int64_t, double, std::size_t, bool>(), py::arg("board"),
             py::arg("limit"), py::arg("timeout"), py::arg("places"), py::arg("newest"))
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__", &Frames::next)
        .def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__", [](Frames& frames, const py::args&) { frames.close(); })
        .def("close", &Frames::close, "Ends the acquisition; frames stay.")
        .def_property_readonly("lost", &Frames::lost, "Frames since the start that the board had no room for.")
        .def_property_readonly("skipped", &Frames::skipped,
                               "Frames that came and were left out, or overwritten before they were taken.");
}

void defineBoard(py::module_& module) {
    py::class_<Board, std::shared_ptr<Board>>(module, "Board", "What qelm.Board is made of.")
        .def(py::init<const std::string&, std::string, std::string>(), py::arg("applet"), py::arg("camera"),
             py::arg("scene"))
        .def("close", &Board::close, "Ends acquisitions and frees the board; frames stay. Closing again does nothing.")
        .def_property_readonly("is_open", &Board::isOpen, "Whether the board has not been closed.")
        .def("__getitem__", &Board::get, py::arg("name"))
        .def("__setitem__", &Board::set, py::arg("name"), py::arg("value"))
        .def("__contains__", &Board::contains, py::arg("name"))
        .def("names", &Board::names, "The names of all parameters, in the applet's order.")
        .def("info", &Board::information, py::arg("name"),
             "What is known about a parameter, with the limits and the access of now.")
        .def("_symbol", &Board::symbol, py::arg("name"), py::arg("value"))
        .def("_lookup_table", &Board::lookupTable, Unlocked())
        .def("_set_lookup_table", &Board::setLookupTable, py::arg("first"), py::arg("values"), Unlocked())
        .def("_load", &Board::load, py::arg("file"), Unlocked())
        .def("_save", &Board::save, py::arg("file"), Unlocked())
        .def("advance", &Board::advance, py::arg("seconds"),
             "Lets the board's time pass: it does so only here, in pulses, and while frames are waited for.")
        .def_property_readonly("time", py::cpp_function(&Board::time, Unlocked()),
                               "Nanoseconds of the board's time since power-on.")
        .def("set_input", &Board::setInput, py::arg("pin"), py::arg("level"), Unlocked(),
             "Drives a trigger input, 0 to 7, to a level.")
        .def("_record_events", &Board::recordEvents, py::arg("record"), Unlocked())
        .def("_events_from", &Board::eventsFrom, py::arg("position"), Unlocked())
        .def("_record_signals", &Board::recordSignals, py::arg("record"), Unlocked())
        .def("_signals_from", &Board::signalsFrom, py::arg("position"), Unlocked())
        .def("_start_trace", &Board::startTrace, Unlocked())
        .def("_stop_trace", &Board::stopTrace, Unlocked())
        .def("_trace", &Board::trace, Unlocked())
        .def("fail", &Board::fail, py::arg("call") = py::none(), py::arg("target") = py::none(), py::kw_only(),
             py::arg("skip") = 0, py::arg("count") = 1, py::arg("code") = -1, Unlocked(),
             "Lets calls into the vendor libraries fail: of those that match, `skip` pass, then `count` answer `code` "
             "and do nothing. None matches every function or target.")
        .def("clear_faults", &Board::clearFaults, Unlocked(), "Lets calls of all boards pass again.")
        .def("_write_picture", &Board::writePicture, py::arg("file"), py::arg("picture"))
        .def("_prepare_acquisition", &Board::prepareAcquisition, Unlocked());
}

} // namespace

PYBIND11_MODULE(_qelm, module) {
    module.doc() = "Boards, acquisitions and frames; the package qelm is made for use.";
    registerErrors();
    defineRecords(module);
    defineFrame(module);
    defineBoard(module);
}

} // namespace qelm::python
