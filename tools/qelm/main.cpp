#include "command_reference.h"
#include "console.h"
#include "interruption.h"
#include "output.h"
#include "output_file.h"
#include "verbs.h"

#include "qelm/host/parameters.h"
#include "qelm/host/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <functional>
#include <iostream>
#include <stdexcept>

namespace {

using namespace qelm;

// Exit statuses beside 0 and those of signals: the request could not be met, or the command line is none.
constexpr int refused = 1;
constexpr int misused = 2;
constexpr std::uint64_t longestTime = 3'600'000'000; // microseconds: an hour
constexpr int readerGone = 141;                      // as a shell tells of a program that died of it

/** A command line that is none. */
struct Misuse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr const char* examples = R"(Examples:
  qelm info                              what the applet is and what it runs on
  qelm list roi                          the parameters of the region of interest
  qelm describe FG_XOFFSET               all about one parameter
  qelm get FG_WIDTH FG_FORMAT            two values
  qelm set FG_WIDTH=512 FG_XOFFSET=64    two settings, in this order
  qelm lut FG_PROCESSING_GAMMA=2.2       the lookup table of a curve
  qelm shading --gray gray.tif           the shading correction from a reference image
  qelm trace FG_WIDTH=512                what a setting writes into the design
  qelm save setup.kcf FG_WIDTH=512       a configuration file; "load", "diff" and "check" read it
  qelm events --pulses 3                 what the design tells of three pulses at a trigger input
  qelm grab -o picture.png               a picture from the virtual board's camera, through the applet's settings
  qelm calibrate -o calibrated.kcf       a shading correction from pictures of black and grey
  qelm run experiment.qelm               a script of steps: settings, pulses, pictures, expectations
  qelm serve --open                      a board that lives, and a page in the browser to drive it
  qelm timing -o timing.svg --wait 500000   the trigger unit's signals as a timing diagram

"qelm VERB --help" tells more. Every run starts the applet on a board of its own: on a virtual board nothing is left
of one run in the next. "--load FILE.kcf" and "--set NAME=VALUE" bring the board to where a verb is to begin; what a
load refuses, changes or only keeps is warned of, and with --strict it ends the run.

Exit status: 0 done, 1 refused or failed, 2 a wrong command line, 130 interrupted. Files appear whole or not at all.)";

constexpr const char* infoExamples = R"(Examples:
  qelm info
  qelm info --json
  qelm info --applet /opt/applets/Zantor_Obvelline_Qx4_RK.so)";

constexpr const char* listExamples =
    R"(FILTER is a part of the name of parameters or of their category, whatever its letter case. The limits shown are those
that hold now; they follow other parameters.

Examples:
  qelm list
  qelm list FG_GEN
  qelm list "output format"
  qelm list trigger --json
  qelm list --direct-registers DRA_
  qelm list --markdown)";

constexpr const char* describeExamples =
    R"(NAME is a parameter's name. Limits and access are those that hold now; they follow other parameters.

Examples:
  qelm describe FG_XOFFSET
  qelm describe FG_DEVICETAPGEOMETRY --json
  qelm describe DRA_FirmwareRevision --direct-registers)";

constexpr const char* xmlExamples =
    R"(The description is a GenApi 1.0 register description, where a parameter's address is its identifier. It leaves the
design's registers out, as the applet does.

Examples:
  qelm xml
  qelm xml --direct-design)";

constexpr const char* getExamples =
    R"(NAME is a parameter's name; of the lookup table it is an entry's, as FG_LUT_VALUE[17].

Examples:
  qelm get FG_WIDTH
  qelm get FG_WIDTH FG_HEIGHT FG_FORMAT --json)";

constexpr const char* setExamples =
    R"(The settings are made in the order given; the first that is refused ends the run. Sizes and offsets of camera and
region change places where the order given would be refused. VALUE is a number in decimal or with 0x, a number with a
decimal point, the symbolic name of an enumeration value, or a file name.

Examples:
  qelm set FG_WIDTH=512
  qelm set FG_CAMERA_WIDTH=2048 FG_WIDTH=2048
  qelm set FG_FORMAT=FG_GRAY16 FG_GEN_FREQ=62.5
  qelm set FG_DEVICETAPGEOMETRY=0xE4C0 --json
  qelm set FG_XOFFSET=704 FG_WIDTH=640 FG_CAMERA_WIDTH=2048
  qelm set --direct-registers DRA_LedControl=5)";

constexpr const char* lutExamples =
    R"(A table is loaded first, then the settings are made. Without --save and --plot the table is shown, 16 entries in a
line. --load takes configuration files (FILE.kcf), too.

Examples:
  qelm lut
  qelm lut FG_PROCESSING_GAMMA=2.2 --save gamma.lut --plot gamma.png
  qelm lut --load gamma.lut FG_LUT_VALUE[0]=17 --plot changed.png
  qelm lut FG_PROCESSING_INVERT=FG_ON --json)";

constexpr const char* shadingExamples =
    R"(The settings are made first, then the correction is computed from the images: TIFF files with one sample of 8 or 16
bits per pixel. The pictures show what the virtual board's design has loaded, as far as the coefficients differ from
no correction, from the smallest (black) to the largest (white), a thousandth at either end left out; defective pixels
are red.

Examples:
  qelm shading --black dark.tif --gray flat.tif
  qelm shading --gray flat.tif FG_SHADING_GAIN_CORRECTION_MODE=FG_MEAN_VALUE --gains gains.png
  qelm shading --black dark.tif --gray flat.tif FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE=FG_ON --offsets offsets.png)";

constexpr const char* traceExamples =
    R"(NAME=VALUE sets a parameter, NAME reads it. Below each step stand the writes that it led to, in their order: to
parameters and registers of the design, and to parameters that the acquisition runtime keeps.

Examples:
  qelm trace FG_WIDTH=512 FG_DEVICETAPGEOMETRY=Geometry_2X_2YE
  qelm trace --reads FG_FILLLEVEL
  qelm trace --start-up
  qelm trace FG_GEN_WIDTH=1024 --json)";

constexpr const char* saveExamples =
    R"(Starts the applet, makes the settings given and saves all settings; with --load it edits a configuration. Lookup
tables and shading coefficients are not in it, but what they are made from. Names that a load would read differently are
warned of.

Examples:
  qelm save setup.kcf
  qelm save setup.kcf FG_WIDTH=512 FG_FORMAT=FG_GRAY16
  qelm save night.kcf --load setup.kcf FG_PROCESSING_GAIN=2.0)";

constexpr const char* loadExamples =
    R"(Shows what the file changes in a board that was just started, and warns of what a load, which says nothing, refuses,
changes or only keeps, with what the design has then. Relative names in the file are taken from the current folder;
--beside takes them from the folder of the file.

Examples:
  qelm load setup.kcf
  qelm load setup.kcf --strict --beside
  qelm load setup.kcf --json)";

constexpr const char* diffExamples =
    R"(The exit status is 0 when both hold the same settings, 1 when they differ and 2 when they cannot be compared.

Examples:
  qelm diff setup.kcf night.kcf)";

constexpr const char* checkExamples =
    R"(Says line by line what a load would refuse, change or ignore. No board is changed: the file is tried on a virtual one.
The exit status is 0 when there is nothing to say and 1 otherwise.

Examples:
  qelm check setup.kcf
  qelm check setup.kcf --json)";

constexpr const char* eventsExamples =
    R"(NAME=VALUE sets a parameter before the pulses, NAME reads one after them. A camera is connected and the trigger unit
started as in "grab". Time is the virtual board's own: it passes with the pulses and with --wait alone, so a run is the
same every time. Times are in microseconds.

Examples:
  qelm events --pulses 3
  qelm events --pin 2 --pulses 2 --period 500 --width 10
  qelm events FG_AREATRIGGERMODE=ATM_EXTERNAL FG_TRIGGERSTATE=TS_ACTIVE --pulses 5 FG_TRIGGER_EXCEEDED_PERIOD_LIMITS
  qelm events FG_TRIGGERSTATE=TS_ACTIVE --wait 500000 --json)";

constexpr const char* grabExamples =
    R"(A configuration file is loaded first, then the settings are made; then the trigger unit is started, unless a setting
is about its state. In ATM_EXTERNAL the pin gets a pulse for each picture, in ATM_SOFTWARE a software trigger is sent.
The scene is a chart (chart, ramp, black, gray, white) or a grey TIFF or PNG file. The camera has the size, taps and
bits that the settings want ("--camera match,KEY=VALUE" adds to that), unless --camera says otherwise; "--camera help"
tells its options. A file name that ends in .png makes a PNG, in .tif or .tiff a TIFF, in .raw bare pixels; "-o -" sends
those to the standard output, for ffmpeg and GStreamer. Several pictures are numbered, or pages of one TIFF. Each comes
with its number, the times of its trigger and its end, and what was lost; a TIFF holds that and the settings.

Examples:
  qelm grab -o picture.png
  qelm grab --set FG_WIDTH=512 --set FG_XOFFSET=256 -o region.tif
  qelm grab --set FG_DEVICETAPGEOMETRY=Geometry_2X_2YE --camera match,sensor=typical -o sorted.png
  qelm grab --scene gray --set FG_FORMAT=FG_GRAY16 --frames 5 -o flat.tif
  qelm grab --frames 5 --multi-page -o pages.tif
  qelm grab --set FG_AREATRIGGERMODE=ATM_EXTERNAL --pin 0 -o triggered.png
  qelm grab --camera help)";

constexpr const char* calibrateExamples =
    R"(Averages pictures of black and of an even grey, checks them, computes the shading correction and judges it by frames
that it was not made from. References go beside the configuration, as FILE-black.tif and FILE-gray.tif; --black and
--gray take them from TIFF files instead: pictures of the whole sensor, samples of 16 bits left-aligned. The exit status
is 1 when pixels stay that differ from those around them, or more unevenness than the noise explains.

Examples:
  qelm calibrate --camera match,sensor=typical,vignetting=40,noise=8 --set FG_CAMERA_LINK_CAMTYPE=FG_CL_MEDIUM_12_BIT -o calibrated.kcf
  qelm calibrate --frames 4 --before before.png --after after.png -o calibrated.kcf
  qelm grab --load calibrated.kcf -o corrected.png)";

constexpr const char* runExamples =
    R"(The file holds a step in each line: set, get, load, camera, scene, wait, pulse, acquire, grab, stop, expect. "#" begins
a comment. All lines are read before the first step is done; docs/scripts.md tells what each takes. The exit status is
1 when a step was refused or an expectation failed.

Example of a script:
    set FG_AREATRIGGERMODE=ATM_EXTERNAL FG_TRIGGERSTATE=TS_ACTIVE
    acquire
    pulse 2 pin=0 period=200ms
    expect pictures == 2
    grab 2 last.png
    expect lost == 0

Examples:
  qelm run experiment.qelm
  qelm run experiment.qelm --load setup.kcf --json)";

constexpr const char* timingExamples =
    R"(Settings are made, the trigger unit is started as in "grab", then the pulses are given and the wait passes; all that
the signals did meanwhile is drawn, up to the last change or from --from to --to; lost triggers and frames are marked.
Times are in virtual microseconds.

Examples:
  qelm timing --wait 500000 -o generator.svg
  qelm timing FG_TRIGGER_FRAMESPERSECOND=50 FG_TRIGGER_PULSEFORMGEN1_DELAY=2000 --wait 100000 -o delay.svg
  qelm timing FG_AREATRIGGERMODE=ATM_EXTERNAL FG_TRIGGERQUEUE_MODE=FG_ON --pulses 4 --period 40000 --wait 500000 -o queue.svg
  qelm timing --wait 500000 --from 120000 --to 130000 -o detail.svg)";

constexpr const char* serveExamples =
    R"(Starts a board whose time follows the wall clock, and a page that shows and drives it; prints the page's address. The
settings are made and the trigger unit started as in "grab". Whoever has the address can drive the board: it holds a
secret. The server listens at the loopback address alone; from another computer "ssh -L" brings its port over.
docs/console.md tells about the page and about its interface for programs.

Examples:
  qelm serve --open
  qelm serve --port 8080 --load setup.kcf
  qelm serve FG_FORMAT=FG_GRAY16 --camera match,sensor=typical --scene chart
  ssh -L 8080:127.0.0.1:8080 lab         on another computer, for "qelm serve --port 8080" on the computer lab
  qelm serve --listen 0.0.0.0 --allow-host lab.example)";

constexpr const char* manExamples = R"(Examples:
  qelm man     the page, for "man -l -" to show)";

constexpr const char* completionExamples = R"(Names of parameters and of their values are completed, too.

Examples:
  qelm completion bash     for ~/.local/share/bash-completion/completions/qelm
  qelm completion zsh      for _qelm in a folder of $fpath
  qelm completion fish     for ~/.config/fish/completions/qelm.fish)";

/** Reports an argument that no verb takes. */
[[noreturn]] void reportUnexpected(const CLI::App& app, const std::string& argument) {
    if (!app.get_subcommands().empty()) {
        throw Misuse("\"qelm " + app.get_subcommands().front()->get_name() + "\" does not take \"" + argument +
                     "\"; its --help tells what it takes");
    }
    if (argument.starts_with('-')) {
        throw Misuse("there is no option \"" + argument + "\"; \"qelm --help\" tells what there is");
    }
    std::vector<std::string> verbs;
    for (const CLI::App* verb : app.get_subcommands({})) {
        verbs.push_back(verb->get_name());
    }
    const std::vector<std::string_view> candidates(verbs.begin(), verbs.end());
    const std::string_view nearest = host::nearestName(argument, candidates);
    throw Misuse("there is no verb \"" + argument + "\"; " +
                 (nearest.empty() ? "the verbs are " + CLI::detail::join(verbs, ", ")
                                  : "did you mean \"" + std::string(nearest) + "\"?"));
}

/** What the verbs take, and the one that was called. */
class CommandLine {
  public:
    CommandLine() {
        app_.footer(examples);
        app_.allow_windows_style_options(false); // a name like /folder/file is one there, too
        app_.fallthrough();
        app_.allow_extras();
        app_.get_formatter()->label("SUBCOMMAND", "VERB");
        app_.set_version_flag("--version", "qelm " QELM_VERSION, "Tells the version");
        addCommonOptions(app_);
        addVerb("info", "Shows what the applet is and what it runs on", infoExamples,
                [this] { return tool::info(common_); });

        CLI::App* verb = addVerb("list", "Lists parameters with their values and ranges", listExamples,
                                 [this] { return tool::list(common_, list_); });
        verb->add_option("FILTER", list_.filter, "Part of a parameter's or a category's name")->type_name("");
        verb->add_flag("--markdown", list_.markdown, "The reference of the fixed parameters as Markdown instead");

        addVerb("describe", "Tells all that is known about a parameter", describeExamples,
                [this] { return tool::describe(common_, name_); })
            ->add_option("NAME", name_, "Parameter to describe")
            ->required()
            ->type_name("");

        CLI::App* description = addVerb("xml", "Writes the GenApi description of the parameters", xmlExamples,
                                        [this] { return tool::xml(common_, document_); });
        addFile(*description, "-o,--output", document_, "The file to write, if not the standard output");

        addVerb("get", "Shows the values of parameters", getExamples, [this] { return tool::get(common_, arguments_); })
            ->add_option("NAME", arguments_, "Parameter to read")
            ->required()
            ->type_name("");

        addVerb("set", "Sets parameters", setExamples, [this] { return tool::set(common_, arguments_); })
            ->add_option("NAME=VALUE", arguments_, "Parameter and value to set")
            ->required()
            ->type_name("");

        CLI::App* save = addVerb("save", "Saves all settings in a configuration file", saveExamples,
                                 [this] { return tool::save(common_, file_, arguments_); });
        addConfiguration(*save, "FILE.kcf", file_, "Configuration file to write");
        save->add_option("NAME=VALUE", arguments_, "Parameter and value to set before")->type_name("");

        CLI::App* load = addVerb("load", "Loads a configuration file and shows what changes", loadExamples,
                                 [this] { return tool::load(common_, file_); });
        addConfiguration(*load, "FILE.kcf", file_, "Configuration file to load");
        addBeside(*load);

        CLI::App* diff = addVerb("diff", "Compares two configuration files", diffExamples,
                                 [this] { return tool::diff(common_, file_, otherFile_); });
        addConfiguration(*diff, "A.kcf", file_, "Configuration file");
        addConfiguration(*diff, "B.kcf", otherFile_, "Configuration file");

        CLI::App* check = addVerb("check", "Says what a load of a configuration file would not take", checkExamples,
                                  [this] { return tool::check(common_, file_); });
        addConfiguration(*check, "FILE.kcf", file_, "Configuration file to check");
        addBeside(*check);

        CLI::App* table =
            addVerb("lut", "Shows, loads, saves and plots the lookup table", lutExamples, [this] { return runLut(); });
        addSettings(*table, lut_.settings);
        table->add_option("--load", lutLoads_, "Lookup-table or configuration file to load")
            ->allow_extra_args(false)
            ->type_name("FILE");
        addSetUpBesideLoad(*table);
        addFile(*table, "--save", lut_.save, "Lookup-table file to write");
        addFile(*table, "--plot", lut_.plot, "PNG file for a plot of the table");

        CLI::App* correction = addVerb("shading", "Computes the shading correction from reference images",
                                       shadingExamples, [this] { return applyShading(); });
        addSettings(*correction, shading_.settings);
        addFile(*correction, "--black", shading_.black, "Black reference image");
        addFile(*correction, "--gray", shading_.gray, "Grey reference image");
        addFile(*correction, "--offsets", shading_.offsets, "PNG file for a picture of the offsets");
        addFile(*correction, "--gains", shading_.gains, "PNG file for a picture of the gains");
        correction->add_option("--size", shading_.size, "Longer side of the pictures at most, in pixels (1024)")
            ->check(CLI::Range(1, 8192))
            ->type_name("PIXELS");

        verb = addVerb("trace", "Sets and reads parameters and shows what reaches the board", traceExamples,
                       [this] { return traceSteps(); });
        verb->add_option("NAME[=VALUE]", trace_.steps, "Parameter to read or to set")->type_name("");
        verb->add_flag("--start-up", trace_.startUp, "Shows what the start of the applet does, too");
        verb->add_flag("--reads", trace_.reads, "Shows what is read from the board, too");

        verb = addVerb("events", "Drives a trigger input of a virtual board and shows the events that it raises",
                       eventsExamples, [this] {
                           checkPulses(events_.pulses);
                           return tool::events(common_, events_);
                       });
        verb->add_option("NAME[=VALUE]", events_.steps, "Parameter to set before or to read after")->type_name("");
        addCamera(*verb, events_.camera);
        addPulses(*verb, events_.pulses);
        addTrain(*verb, events_.pulses);

        verb = addVerb("grab", "Grabs pictures from the camera of a virtual board", grabExamples, [this] {
            checkPulses(grab_.pulses);
            return tool::grab(common_, grab_);
        });
        addSettings(*verb, grab_.settings);
        addCamera(*verb, grab_.camera);
        verb->add_option("--frames", grab_.frames, "Number of pictures (1)")
            ->check(CLI::Range(1, 1000000))
            ->type_name("N");
        verb->add_option("--timeout", grab_.timeout, "Virtual seconds that a picture may take (10)")
            ->check(CLI::Range(0.001, 3600.0))
            ->type_name("SECONDS");
        grab_.pulses.period = 100000;
        addPulses(*verb, grab_.pulses);
        addFile(*verb, "-o,--output", grab_.output, "TIFF, PNG or raw file to write; - for raw to the standard output");
        verb->add_flag("--multi-page", grab_.multiPage, "All pictures as pages of one TIFF file");

        verb = addVerb("calibrate", "Makes a shading correction from pictures of black and grey, and judges it",
                       calibrateExamples, [this] { return makeCalibration(); });
        addSettings(*verb, calibrate_.settings);
        addCamera(*verb, calibrate_.camera);
        verb->add_option("--black-scene", calibrate_.blackScene, "What is black (black)")->type_name("SCENE");
        verb->add_option("--gray-scene", calibrate_.grayScene, "What is an even grey (gray)")->type_name("SCENE");
        addFile(*verb, "--black", calibrate_.black, "TIFF file of black instead");
        addFile(*verb, "--gray", calibrate_.gray, "TIFF file of an even grey instead");
        verb->add_option("--frames", calibrate_.frames, "Number of pictures that are averaged (16)")
            ->check(CLI::Range(2, 1000))
            ->type_name("N");
        addFile(*verb, "-o,--output", calibrate_.output, "Configuration file to write");
        addFile(*verb, "--before", calibrate_.before, "PNG file for a picture without the correction");
        addFile(*verb, "--after", calibrate_.after, "PNG file for a picture with it");

        verb = addVerb("run", "Runs a script of steps on one virtual board", runExamples,
                       [this] { return tool::run(common_, run_); });
        addPath(*verb, "FILE", run_.file, "The script")->required()->type_name("");
        addCamera(*verb, run_.camera);

        verb = addVerb("timing", "Draws the signals of the trigger unit as a timing diagram", timingExamples, [this] {
            checkPulses(timing_.pulses);
            return tool::timing(common_, timing_);
        });
        addSettings(*verb, timing_.settings);
        addCamera(*verb, timing_.camera);
        addPulses(*verb, timing_.pulses);
        addTrain(*verb, timing_.pulses);
        addFile(*verb, "-o,--output", timing_.output, "SVG file to write");
        addMoment(*verb, "--from", timing_.from, "Where the picture begins");
        addMoment(*verb, "--to", timing_.to, "Where it ends, if not behind the last change");

        verb = addVerb("serve", "Keeps a virtual board alive and shows it in the browser", serveExamples,
                       [this] { return tool::serve(common_, serve_); });
        addSettings(*verb, serve_.settings);
        addCamera(*verb, serve_.camera);
        verb->add_option("--port", serve_.port, "TCP port (any that is free)")
            ->check(CLI::Range(0, 65535))
            ->type_name("N");
        verb->add_flag("--open", serve_.open, "Opens the page in the browser");
        verb->add_option("--listen", serve_.listen, "IP address to listen at (127.0.0.1)")->type_name("ADDRESS");
        verb->add_option("--allow-host", serve_.allowedHosts,
                         "Name or address that browsers call the server by; may be repeated")
            ->allow_extra_args(false)
            ->type_name("NAME");

        addVerb("man", "Writes the manual page", manExamples, [this] {
            std::cout << tool::manualPage(reference(), QELM_VERSION);
            return 0;
        });
        addVerb("completion", "Writes what a shell needs to complete command lines", completionExamples,
                [this] {
                    std::cout << tool::completion(reference(), shell_);
                    return 0;
                })
            ->add_option("SHELL", shell_, "bash, zsh or fish")
            ->required()
            ->check(CLI::IsMember({"bash", "zsh", "fish"}))
            ->type_name("");

        for (const char* name : {"list", "describe", "xml", "get", "set", "save", "shading", "trace", "events", "grab",
                                 "calibrate", "run", "timing", "serve"}) {
            addSetUp(*app_.get_subcommand(name));
        }
    }

    /** @return the exit status @throws Misuse, and what the verb throws */
    int run(std::vector<std::string> words) {
        common_.json = std::ranges::find(words, "--json") != words.end(); // also where the rest is wrong
        if (common_.json) {
            tool::wantJson();
        }
        std::ranges::reverse(words); // as the parser wants them
        try {
            app_.parse(std::move(words));
        } catch (const CLI::Success& request) { // for the help or the version
            return app_.exit(request);
        } catch (const CLI::ParseError& error) {
            throw Misuse(std::string(error.what()) + "; --help tells more");
        }
        if (const std::vector<std::string> unexpected = app_.remaining(true); !unexpected.empty()) {
            reportUnexpected(app_, unexpected.front());
        }
        if (!verb_) {
            std::cerr << app_.help();
            throw Misuse("which verb?");
        }
        const int status = verb_();
        return status == 0 && common_.strict && !tool::warnings().empty() ? refused : status;
    }
    bool wantsJson() const { return common_.json; }

  private:
    int traceSteps() {
        if (trace_.steps.empty() && !trace_.startUp) {
            throw Misuse("nothing to trace: name parameters to read or to set, or give --start-up");
        }
        return tool::trace(common_, trace_);
    }

    static void checkPulses(const tool::PulseOptions& pulses) {
        if (pulses.width > pulses.period) {
            throw Misuse("a pulse cannot be wider than its period: --width must not exceed --period");
        }
    }

    /** Its --load takes both kinds of files. */
    int runLut() {
        for (const std::string& file : lutLoads_) {
            const bool isConfiguration = file.find(".kcf") != std::string::npos;
            std::filesystem::path& place = isConfiguration ? common_.setUp.load : lut_.load;
            if (!place.empty()) {
                throw Misuse(std::string("--load takes one ") + (isConfiguration ? "configuration" : "table"));
            }
            place = host::pathOf(file);
        }
        return tool::lut(common_, lut_);
    }

    /** What a pulse is like. */
    static void addPulses(CLI::App& verb, tool::PulseOptions& pulses) {
        verb.add_option("--pin", pulses.pin, "Trigger input, 0 to 7 (0)")->check(CLI::Range(0, 7))->type_name("N");
        addTime(verb, "--period", pulses.period, "From one pulse to the next");
        addTime(verb, "--width", pulses.width, "How long the pin is high");
    }
    /** How many pulses, and then. */
    static void addTrain(CLI::App& verb, tool::PulseOptions& pulses) {
        verb.add_option("--pulses", pulses.pulses, "Number of pulses")->check(CLI::Range(0, 1000000))->type_name("N");
        addTime(verb, "--wait", pulses.wait, "Time to let pass after the pulses");
    }
    static void addTime(CLI::App& verb, const char* name, std::uint64_t& time, const std::string& description) {
        verb.add_option(name, time, description + " (" + std::to_string(time) + ")")
            ->check(CLI::Range(std::uint64_t{0}, longestTime))
            ->type_name("TIME");
    }
    static void addMoment(CLI::App& verb, const char* name, std::optional<std::uint64_t>& moment,
                          const char* description) {
        verb.add_option(name, moment, description)->check(CLI::Range(std::uint64_t{0}, longestTime))->type_name("TIME");
    }
    static void addCamera(CLI::App& verb, tool::CameraChoice& camera) {
        verb.add_option("--scene", camera.scene, "What the camera looks at: a chart or a file")->type_name("SCENE");
        verb.add_option(
                "--camera", camera.options,
                "The camera: KEY=VALUE,KEY=VALUE or \"match\", as the settings want it; \"help\" tells the keys")
            ->type_name("OPTIONS");
    }

    int makeCalibration() {
        if (calibrate_.black.empty() != calibrate_.gray.empty()) {
            throw Misuse("both references are taken, or both come from files: give --black and --gray");
        }
        if (calibrate_.output.empty() && calibrate_.camera.options != "help") {
            throw Misuse("where to? give -o FILE.kcf");
        }
        return tool::calibrate(common_, calibrate_);
    }

    int applyShading() {
        if (shading_.black.empty() && shading_.gray.empty()) {
            throw Misuse("nothing to compute from: give --black or --gray");
        }
        return tool::shading(common_, shading_);
    }

    static void addSettings(CLI::App& verb, std::vector<std::string>& settings) {
        verb.add_option("NAME=VALUE", settings, "Parameter and value to set")->type_name("");
    }
    static void addFile(CLI::App& verb, const char* name, std::filesystem::path& file, const char* description) {
        addPath(verb, name, file, description)->type_name("FILE");
    }

    static CLI::Option* addPath(CLI::App& verb, const char* name, std::filesystem::path& file,
                                const char* description) {
        return verb.add_option_function<std::string>(
            name, [&file](const std::string& text) { file = host::pathOf(text); }, description);
    }

    /** They may stand before and after the verb. */
    void addCommonOptions(CLI::App& app) {
        addPath(app, "--applet", common_.applet, "The applet library, if not the one beside the tool")
            ->type_name("PATH");
        app.add_flag("--json", common_.json, "Results as JSON");
        app.add_flag("--strict", common_.strict, "Warnings are failures: exit status 1");
        app.add_flag("--direct-registers", common_.directRegisters, "Makes the design's registers parameters, DRA_...");
        app.add_flag("--direct-design", common_.directDesign, "Makes the design's parameters parameters, DZEA_...");
    }

    CLI::App* addVerb(const char* name, const char* description, const char* footer, std::function<int()> action) {
        CLI::App* verb = app_.add_subcommand(name, description);
        verb->group("Verbs");
        verb->footer(footer);
        addCommonOptions(*verb);
        verb->callback([this, action = std::move(action)] { verb_ = action; });
        return verb;
    }

    /** What brings the board of a verb to where it is to begin. */
    void addSetUp(CLI::App& verb) {
        addPath(verb, "--load", common_.setUp.load, "Configuration file to load first")->type_name("FILE.kcf");
        addSetUpBesideLoad(verb);
    }
    void addSetUpBesideLoad(CLI::App& verb) {
        addBeside(verb);
        verb.add_option("--set", common_.setUp.settings, "Parameter and value to set first; may be repeated")
            ->allow_extra_args(false)
            ->type_name("NAME=VALUE");
    }
    void addBeside(CLI::App& verb) {
        verb.add_flag("--beside", common_.setUp.beside,
                      "Relative file names in the configuration are meant from its folder, not from the current one");
    }
    static void addConfiguration(CLI::App& verb, const char* name, std::filesystem::path& file,
                                 const char* description) {
        addPath(verb, name, file, description)->required()->type_name("");
    }

    static tool::VerbText textOf(CLI::App& app) {
        tool::VerbText text{app.get_name(), app.get_description(), app.get_footer()};
        for (const CLI::Option* option : app.get_options()) {
            tool::OptionText& added = text.options.emplace_back();
            added.description = option->get_description();
            added.isPositional = option->get_positional();
            if (added.isPositional) {
                added.names = {option->get_name(true)};
                continue;
            }
            for (const std::string& name : option->get_snames()) {
                added.names.push_back("-" + name);
            }
            for (const std::string& name : option->get_lnames()) {
                added.names.push_back("--" + name);
            }
            added.value = option->get_expected_max() == 0 ? "" : option->get_type_name();
        }
        return text;
    }

    tool::CommandReference reference() {
        tool::CommandReference reference{textOf(app_), {}};
        const auto isCommon = [&](const tool::OptionText& option) {
            return std::ranges::any_of(reference.program.options,
                                       [&](const tool::OptionText& common) { return common.names == option.names; });
        };
        for (CLI::App* verb : app_.get_subcommands({})) {
            std::erase_if(reference.verbs.emplace_back(textOf(*verb)).options, isCommon);
        }
        return reference;
    }

    CLI::App app_{"Drives the acquisition applet Zantor_Obvelline_Qx4_RK on a board.", "qelm"};
    tool::CommonOptions common_;
    tool::ListOptions list_;
    std::string name_;
    std::filesystem::path document_;
    std::vector<std::string> arguments_;
    std::filesystem::path file_;
    std::filesystem::path otherFile_;
    tool::LutOptions lut_;
    std::vector<std::string> lutLoads_;
    tool::ShadingOptions shading_;
    tool::TraceOptions trace_;
    tool::EventsOptions events_;
    tool::GrabOptions grab_;
    tool::CalibrateOptions calibrate_;
    tool::RunOptions run_;
    tool::TimingOptions timing_;
    tool::ServeOptions serve_;
    std::string shell_;
    std::function<int()> verb_;
};

} // namespace

int main(int argc, char** argv) {
    tool::prepareConsole();
    tool::checkStandardOutput();
    tool::watchForInterruption();
    CommandLine line;
    int status = 0;
    const auto fail = [&](const std::exception& error, int code) {
        tool::printError(error.what());
        if (const std::string files = tool::writtenBefore(); !files.empty()) {
            tool::printError(files);
        }
        if (line.wantsJson()) {
            tool::printFailureDocument(error);
        }
        status = code;
    };
    try {
        status = line.run(tool::commandLine(argc, argv));
    } catch (const tool::OutputLost&) { // told below
        status = refused;
    } catch (const Misuse& error) {
        fail(error, misused);
    } catch (const tool::Interrupted& error) {
        fail(error, error.status());
    } catch (const std::exception& error) {
        fail(error, refused);
    }
    if (const int error = tool::finishStandardOutput(); error == EPIPE) { // whoever reads has had enough
        status = readerGone;
    } else if (error != 0) {
        tool::printErrorAlone("the standard output cannot be written: " +
                              tool::systemMessage(std::error_code(error, std::generic_category())));
        status = status == 0 ? refused : status;
    }
    return status;
}
