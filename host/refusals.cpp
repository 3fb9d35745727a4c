#include "refusals.h"

#include "qelm/host/numbers.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <utility>
#include <vector>

namespace qelm::host {
namespace {

namespace fs = std::filesystem;

constexpr int generators = 4;
constexpr std::int32_t idsPerGenerator = 4; // downscale, phase, delay, width

constexpr std::int32_t of(std::int32_t firstGenerator, int generator) {
    return firstGenerator + idsPerGenerator * generator;
}

const Parameter& fixed(std::int32_t id) {
    return *std::ranges::find(fixedParameters(), id, &Parameter::id);
}

/** Whether the board's applet knows the parameter under the number that it has here; another one may not. */
bool isKnown(const Board& board, const Parameter& parameter) {
    const Parameter* own = findFixedParameter(parameter.name);
    return own != nullptr && own->id == board.findId(parameter.name.c_str());
}

std::string holds(const Board& board, std::int32_t id) {
    const Parameter& parameter = fixed(id);
    return parameter.name + " = " + formatValue(parameter, readValue(board, {&parameter})) +
           (parameter.unit.empty() ? "" : " " + parameter.unit);
}

double number(const Value& value) {
    const auto* floating = std::get_if<double>(&value);
    const auto* whole = std::get_if<std::uint32_t>(&value);
    return floating != nullptr ? *floating : whole != nullptr ? *whole : 0.0;
}

/** A delay or width, and how long it may be. Its period is the time times its downscale. */
std::string timeClash(std::int32_t timeId, double time, double downscale, double rate) {
    const double period = 1e6 / rate;
    if (downscale > 0 && period > time / downscale) {
        return {};
    }
    return fixed(timeId).name + " = " + formatNumber(time) + " \u00b5s has to be shorter than " +
           formatNumber(period * downscale) +
           " \u00b5s, the period of FG_TRIGGER_FRAMESPERSECOND = " + formatNumber(rate) + " Hz" +
           (downscale > 1 ? " times the downscale " + formatNumber(downscale) : "") +
           ": the rate would have to be below " + formatNumber(1e6 / time * downscale) + " Hz. ";
}

/** The delays and widths that do not fit into the period of the rate, with the value that was tried in its place. */
std::string timingClash(const Board& board, const Assignment& assignment) {
    const std::int32_t tried = assignment.reference.parameter->id;
    const auto valueOf = [&](std::int32_t id) {
        return id == tried ? number(assignment.value) : number(readValue(board, {&fixed(id)}));
    };
    const double rate = valueOf(FG_TRIGGER_FRAMESPERSECOND);
    std::string sentences;
    for (int i = 0; i < generators; ++i) {
        const double downscale = valueOf(of(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE, i));
        for (const std::int32_t first : {FG_TRIGGER_PULSEFORMGEN0_DELAY, FG_TRIGGER_PULSEFORMGEN0_WIDTH}) {
            sentences += timeClash(of(first, i), valueOf(of(first, i)), downscale, rate);
        }
    }
    return sentences;
}

std::string imageClash(const Board& board, std::int32_t id) {
    if (id == FG_IMG_SELECT) {
        return "It has to be below " + holds(board, FG_IMG_SELECT_PERIOD) + ".";
    }
    return "It has to be above " + holds(board, FG_IMG_SELECT) + ".";
}

/** What a limit follows from. */
std::string limitClash(const Board& board, std::int32_t id) {
    constexpr struct {
        std::int32_t id, first, second;
    } rows[] = {
        {FG_WIDTH, FG_CAMERA_WIDTH, FG_XOFFSET},
        {FG_XOFFSET, FG_CAMERA_WIDTH, FG_WIDTH},
        {FG_HEIGHT, FG_CAMERA_HEIGHT, FG_YOFFSET},
        {FG_YOFFSET, FG_CAMERA_HEIGHT, FG_HEIGHT},
    };
    if (id == FG_IMG_SELECT || id == FG_IMG_SELECT_PERIOD) {
        return imageClash(board, id);
    }
    for (const auto& row : rows) {
        if (row.id == id) {
            return "That follows from " + holds(board, row.first) + " and " + holds(board, row.second) + ".";
        }
    }
    for (int i = 0; i < generators; ++i) {
        if (id == of(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE_PHASE, i)) {
            return "It has to be below " + holds(board, of(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE, i)) + ".";
        }
        if (id == of(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE, i)) {
            return "It has to be above " + holds(board, of(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE_PHASE, i)) + ".";
        }
    }
    return {};
}

/** "\"a.tif\" of FG_..." with what is wrong about it, or "" when it can be opened. */
std::string fileClash(const std::string& name, const std::string& parameter) {
    const fs::path file = pathOf(name);
    const std::string whose = "\"" + name + "\", which " + parameter + " names, ";
    std::error_code error;
    if (!fs::exists(file, error)) {
        return whose + "does not exist" +
               (file.is_relative() ? "; relative names are looked for in " + fs::current_path().string() : "") + ". ";
    }
    if (fs::is_directory(file, error)) {
        return whose + "is a folder. ";
    }
    return std::ifstream(file, std::ios::binary) ? std::string() : whose + "cannot be opened. ";
}

std::string fileClash(const Board& board, const Assignment& assignment) {
    const Parameter& parameter = *assignment.reference.parameter;
    if (parameter.kind == ParameterKind::fileName) {
        return fileClash(std::get<std::string>(assignment.value), parameter.name);
    }
    const bool isTable = parameter.id == FG_LUT_TYPE;
    const std::vector<std::int32_t> names =
        isTable ? std::vector<std::int32_t>{FG_LUT_CUSTOM_FILE}
                : std::vector<std::int32_t>{FG_SHADING_BLACK_FILENAME, FG_SHADING_GRAY_FILENAME};
    std::string sentences;
    std::string all;
    for (const std::int32_t id : names) {
        const std::string name = std::get<std::string>(readValue(board, {&fixed(id)}));
        if (!name.empty()) {
            sentences += fileClash(name, fixed(id).name);
            all += (all.empty() ? "\"" : " or \"") + name + "\"";
        }
    }
    if (sentences.empty() && !all.empty()) {
        return all + (isTable ? " is no table." : " is no TIFF image with one sample of 8 or 16 bits per pixel.");
    }
    return sentences;
}

} // namespace

std::string clash(const Board& board, const Assignment& assignment, std::int32_t code) {
    const std::int32_t id = assignment.reference.parameter->id;
    if (!isKnown(board, *assignment.reference.parameter)) {
        return {};
    }
    try {
        switch (code) {
        case FG_ERROR_OUT_OF_RANGE:
            return limitClash(board, id);
        case FG_ERROR_TRIGGER_TIMING:
        case FG_ERROR_DOWNSCALE_TIMING:
            return timingClash(board, assignment);
        case FG_ERROR_FILE_NOT_FOUND:
            return fileClash(board, assignment);
        default:
            return {};
        }
    } catch (const AppletError&) { // what would explain it cannot be read either
        return {};
    }
}

std::optional<Reason> betterReason(const Assignment& assignment, std::int32_t code) {
    const bool isFileTrouble = code == FG_ERROR_UNKNOWN || code == FG_ERROR_SYSTEM;
    if (assignment.reference.parameter->id != FG_SHADING_APPLY_SETTINGS || !isFileTrouble) {
        return std::nullopt;
    }
    // The coefficients go to the design through files.
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    const char* named = std::getenv("TMPDIR");
    const std::string name = error && named != nullptr ? named : folder.string();
    if (!error) {
        const fs::path probe = folder / ("qelm-" + std::to_string(std::random_device()()));
        const bool canWrite = std::ofstream(probe).good();
        fs::remove(probe, error);
        if (canWrite && code == FG_ERROR_UNKNOWN) {
            return std::nullopt;
        }
    }
    return Reason{"the coefficients, two files of 128 MiB, could not be written to the folder for temporary files, \"" +
                  name + "\""};
}

} // namespace qelm::host
