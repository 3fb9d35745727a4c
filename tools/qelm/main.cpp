#include "console.h"
#include "output.h"
#include "verbs.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>
#include <iostream>

namespace {

using namespace qelm;

// Exit statuses beside 0: the request could not be met, or the command line is none.
constexpr int refused = 1;
constexpr int misused = 2;

constexpr const char* examples = R"(Examples:
  qelm info                              what the applet is and what it runs on
  qelm list roi                          the parameters of the region of interest
  qelm describe FG_XOFFSET               all about one parameter
  qelm get FG_WIDTH FG_FORMAT            two values
  qelm set FG_WIDTH=512 FG_XOFFSET=64    two settings, in this order
  qelm trace FG_WIDTH=512                what a setting writes into the design

"qelm VERB --help" tells more. Every run starts the applet on a board of its own: on a virtual board nothing is left
of one run in the next, so settings that belong together go into one.)";

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
    R"(The settings are made in the order given; the first that is refused ends the run. VALUE is a number in decimal or with
0x, a number with a decimal point, the symbolic name of an enumeration value, or a file name.

Examples:
  qelm set FG_WIDTH=512
  qelm set FG_CAMERA_WIDTH=2048 FG_WIDTH=2048
  qelm set FG_FORMAT=FG_GRAY16 FG_GEN_FREQ=62.5
  qelm set FG_DEVICETAPGEOMETRY=0xE4C0 --json
  qelm set --direct-registers DRA_LedControl=5)";

constexpr const char* traceExamples =
    R"(NAME=VALUE sets a parameter, NAME reads it. Below each step stand the writes that it led to, in their order: to
parameters and registers of the design, and to parameters that the acquisition runtime keeps.

Examples:
  qelm trace FG_WIDTH=512 FG_DEVICETAPGEOMETRY=Geometry_2X_2YE
  qelm trace --reads FG_FILLLEVEL
  qelm trace --start-up
  qelm trace FG_GEN_WIDTH=1024 --json)";

/** Reports an argument that no verb takes. */
int reportUnexpected(const CLI::App& app, const std::string& argument) {
    if (!app.get_subcommands().empty()) {
        tool::printError("\"qelm " + app.get_subcommands().front()->get_name() + "\" does not take \"" + argument +
                         "\"; its --help tells what it takes");
        return misused;
    }
    if (argument.starts_with('-')) {
        tool::printError("there is no option \"" + argument + "\"; \"qelm --help\" tells what there is");
        return misused;
    }
    std::vector<std::string> verbs;
    for (const CLI::App* verb : app.get_subcommands({})) {
        verbs.push_back(verb->get_name());
    }
    const std::vector<std::string_view> candidates(verbs.begin(), verbs.end());
    const std::string_view nearest = host::nearestName(argument, candidates);
    tool::printError("there is no verb \"" + argument + "\"; " +
                     (nearest.empty() ? "the verbs are " + CLI::detail::join(verbs, ", ")
                                      : "did you mean \"" + std::string(nearest) + "\"?"));
    return misused;
}

/** What the verbs take, and the one that was called. */
class CommandLine {
  public:
    CommandLine() {
        app_.footer(examples);
        app_.fallthrough();
        app_.allow_extras();
        app_.get_formatter()->label("SUBCOMMAND", "VERB");
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

        addVerb("xml", "Writes the GenApi description of the parameters", xmlExamples,
                [this] { return tool::xml(common_, file_); })
            ->add_option("-o,--output", file_, "The file to write, if not the standard output")
            ->type_name("FILE");

        addVerb("get", "Shows the values of parameters", getExamples, [this] { return tool::get(common_, arguments_); })
            ->add_option("NAME", arguments_, "Parameter to read")
            ->required()
            ->type_name("");

        addVerb("set", "Sets parameters", setExamples, [this] { return tool::set(common_, arguments_); })
            ->add_option("NAME=VALUE", arguments_, "Parameter and value to set")
            ->required()
            ->type_name("");

        verb = addVerb("trace", "Sets and reads parameters and shows what reaches the board", traceExamples,
                       [this] { return traceSteps(); });
        verb->add_option("NAME[=VALUE]", trace_.steps, "Parameter to read or to set")->type_name("");
        verb->add_flag("--start-up", trace_.startUp, "Shows what the start of the applet does, too");
        verb->add_flag("--reads", trace_.reads, "Shows what is read from the board, too");
    }

    int run(int argc, char** argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::CallForHelp& help) {
            return app_.exit(help);
        } catch (const CLI::ParseError& error) {
            tool::printError(std::string(error.what()) + "; --help tells more");
            return misused;
        }
        if (const std::vector<std::string> unexpected = app_.remaining(true); !unexpected.empty()) {
            return reportUnexpected(app_, unexpected.front());
        }
        if (!verb_) {
            std::cerr << app_.help();
            return misused;
        }
        return verb_();
    }

  private:
    int traceSteps() {
        if (trace_.steps.empty() && !trace_.startUp) {
            tool::printError("nothing to trace: name parameters to read or to set, or give --start-up");
            return misused;
        }
        return tool::trace(common_, trace_);
    }

    /** They may stand before and after the verb. */
    void addCommonOptions(CLI::App& app) {
        app.add_option("--applet", common_.applet, "The applet library, if not the one beside the tool")
            ->type_name("PATH");
        app.add_flag("--json", common_.json, "Results as JSON");
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

    CLI::App app_{"Drives the acquisition applet Zantor_Obvelline_Qx4_RK on a board.", "qelm"};
    tool::CommonOptions common_;
    tool::ListOptions list_;
    std::string name_;
    std::filesystem::path file_;
    std::vector<std::string> arguments_;
    tool::TraceOptions trace_;
    std::function<int()> verb_;
};

} // namespace

int main(int argc, char** argv) {
    tool::prepareConsole();
    try {
        return CommandLine().run(argc, argv);
    } catch (const std::exception& error) {
        tool::printError(error.what());
        return refused;
    }
}
