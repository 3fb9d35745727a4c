#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/** The verbs of the tool, one source each. Every one returns the exit status and throws what it cannot do. */
namespace qelm::tool {

/** What a board is brought to before a verb does its own. */
struct SetUp {
    std::filesystem::path load;        ///< a configuration file, first
    bool beside = false;               ///< relative names in it are meant from its folder
    std::vector<std::string> settings; ///< "NAME=VALUE"
};

/** What every verb takes. */
struct CommonOptions {
    std::filesystem::path applet; ///< empty: the one beside the tool
    bool json = false;
    bool strict = false;          ///< warnings are failures
    bool directRegisters = false; ///< the design's registers are parameters, too
    bool directDesign = false;    ///< the design's parameters are parameters, too
    SetUp setUp{};
};

struct ListOptions {
    std::string filter;    ///< part of a parameter's or a category's name
    bool markdown = false; ///< the reference of the fixed parameters instead
};

struct TraceOptions {
    std::vector<std::string> steps; ///< "NAME=VALUE" sets, "NAME" reads
    bool startUp = false;           ///< shows what the applet's start does, too
    bool reads = false;             ///< shows the calls that change nothing, too
};

/** Pulses to drive a pin of a virtual board with. Times are virtual microseconds. */
struct PulseOptions {
    std::uint32_t pin = 0;
    std::uint32_t pulses = 0;
    std::uint64_t period = 1000;
    std::uint64_t width = 100; ///< at most the period
    std::uint64_t wait = 0;    ///< after the last period
};

/** The camera of a virtual board. */
struct CameraChoice {
    std::string options; ///< "key=value,key=value"; "help" tells them; empty or "match": as the settings want it
    std::string scene;   ///< a chart's name or a file; empty: the test chart
};

struct EventsOptions {
    std::vector<std::string> steps; ///< "NAME=VALUE" sets before the pulses, "NAME" reads after them
    CameraChoice camera;
    PulseOptions pulses;
};

struct GrabOptions {
    std::vector<std::string> settings;
    CameraChoice camera;
    std::uint32_t frames = 1;
    double timeout = 10;          ///< virtual seconds that a picture may take
    PulseOptions pulses;          ///< for external triggers, one for each picture
    std::filesystem::path output; ///< .png, .tif, .tiff or .raw; "-": raw, to the standard output
    bool multiPage = false;       ///< all pictures as pages of one TIFF
};

struct TimingOptions {
    std::vector<std::string> settings;
    CameraChoice camera;
    PulseOptions pulses;
    std::filesystem::path output;          ///< an SVG
    std::optional<std::uint64_t> from, to; ///< what to draw, in virtual microseconds since the start; all that happens
};

struct LutOptions {
    std::filesystem::path load;        ///< a lookup-table file, first
    std::vector<std::string> settings; ///< "NAME=VALUE"
    std::filesystem::path save;
    std::filesystem::path plot; ///< a PNG
};

struct ShadingOptions {
    std::vector<std::string> settings; ///< "NAME=VALUE", made first
    std::filesystem::path black;
    std::filesystem::path gray;
    std::filesystem::path offsets; ///< a PNG of what is loaded
    std::filesystem::path gains;   ///< likewise
    int size = 1024;               ///< the pictures' longer side at most, in pixels
};

struct CalibrateOptions {
    std::vector<std::string> settings;
    CameraChoice camera; ///< its scene is that of the pictures before and after; empty: the grey one
    std::string blackScene = "black";
    std::string grayScene = "gray";
    std::filesystem::path black; ///< references from files instead, both
    std::filesystem::path gray;
    std::uint32_t frames = 16;    ///< that are averaged
    std::filesystem::path output; ///< the configuration; the references get names after it
    std::filesystem::path before; ///< a PNG of a picture without the correction
    std::filesystem::path after;  ///< and with it
};

struct RunOptions {
    std::filesystem::path file; ///< the script
    CameraChoice camera;
};

struct ServeOptions {
    std::string listen = "127.0.0.1";      ///< the address; others than the loopback's need allowedHosts
    std::uint16_t port = 0;                ///< 0: any free one
    std::vector<std::string> allowedHosts; ///< names that the server may be called by, beside the loopback's
    bool open = false;                     ///< in the user's browser
    std::vector<std::string> settings;     ///< "NAME=VALUE"
    CameraChoice camera;
};

int info(const CommonOptions& options);
int list(const CommonOptions& options, const ListOptions& listOptions);
int describe(const CommonOptions& options, const std::string& name);
/** @param file empty: the standard output */
int xml(const CommonOptions& options, const std::filesystem::path& file);
int get(const CommonOptions& options, const std::vector<std::string>& names);
int set(const CommonOptions& options, const std::vector<std::string>& assignments);
int save(const CommonOptions& options, const std::filesystem::path& file, const std::vector<std::string>& assignments);
int load(const CommonOptions& options, const std::filesystem::path& file);
int diff(const CommonOptions& options, const std::filesystem::path& left, const std::filesystem::path& right);
int check(const CommonOptions& options, const std::filesystem::path& file);
int lut(const CommonOptions& options, const LutOptions& lutOptions);
int shading(const CommonOptions& options, const ShadingOptions& shadingOptions);
int trace(const CommonOptions& options, const TraceOptions& traceOptions);
int grab(const CommonOptions& options, const GrabOptions& grabOptions);
int timing(const CommonOptions& options, const TimingOptions& timingOptions);
int calibrate(const CommonOptions& options, const CalibrateOptions& calibrateOptions);
int run(const CommonOptions& options, const RunOptions& runOptions);
int events(const CommonOptions& options, const EventsOptions& eventsOptions);
int serve(const CommonOptions& options, const ServeOptions& serveOptions);

} // namespace qelm::tool
