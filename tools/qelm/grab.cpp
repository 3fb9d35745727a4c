#include "camera.h"
#include "console.h"
#include "interruption.h"
#include "levels.h"
#include "losses.h"
#include "output.h"
#include "output_file.h"
#include "picture_writer.h"
#include "progress.h"
#include "set_up.h"
#include "triggers.h"

#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

std::string milliseconds(const std::optional<std::uint64_t>& nanoseconds) {
    if (!nanoseconds) {
        return "unknown";
    }
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << static_cast<double>(*nanoseconds) * 1e-6 << " ms";
    return text.str();
}

/** Tells of the pictures, in a space that does not grow with their number: of many pictures only the last as text. */
class Report {
  public:
    Report(const CommonOptions& options, std::uint32_t pictures) : isJson_(options.json), pictures_(pictures) {}

    void add(const std::string& file, const host::Frame& frame) {
        ++added_;
        if (isJson_) {
            printPiece((added_ == 1 ? "{\"pictures\": [\n  " : ",\n  ") + dump(json(file, frame)),
                       "],\n\"error\": " + dump(failureJson(Interrupted(0))) + "}\n");
        } else {
            if (pictures_ > mostLines) {
                table_ = Table();
            }
            addRow(file, frame);
        }
    }
    /** @param error what ended the run before its last picture, or null */
    void finish(const Losses& losses, const std::exception* error = nullptr) const {
        losses.warn();
        if (!isJson_) {
            if (pictures_ > mostLines && added_ > 0) {
                std::cout << added_ << " pictures, the last one:\n";
            }
            table_.print();
            return;
        }
        std::string end = (added_ == 0 ? "{\"pictures\": [" : "\n") + std::string("],\n\"losses\": ") +
                          losses.json().dump() + ",\n\"warnings\": " + dump(warnings());
        if (error != nullptr) {
            end += ",\n\"error\": " + dump(failureJson(*error));
        }
        printPiece(end + "}\n");
    }

  private:
    static constexpr std::uint32_t mostLines = 20;

    static Json json(const std::string& file, const host::Frame& frame) {
        const host::FrameFormat& format = frame.format();
        const Levels levels = levelsOf(frame);
        Json json{{"file", file}, {"width", format.width}, {"height", format.height}, {"bits", format.bits}};
        json.update(informationJson(frame.information()));
        json.update({{"minimum", levels.minimum},
                     {"maximum", levels.maximum},
                     {"mean", levels.mean},
                     {"nonUniformityPercent", levels.nonUniformity()}});
        return json;
    }
    void addRow(const std::string& file, const host::Frame& frame) {
        const host::FrameInformation& information = frame.information();
        std::string losses;
        for (const auto& [count, what] : {std::pair{information.lost, "lost"},
                                          {information.missing, "missing"},
                                          {information.skipped, "skipped"}}) {
            losses += count == 0 ? "" : ", " + std::to_string(count) + " " + what;
        }
        table_.add({file,
                    std::to_string(frame.format().width) + " x " + std::to_string(frame.format().height) + ", " +
                        std::to_string(frame.format().bits) + " bits",
                    levelsOf(frame).text(),
                    "number " + std::to_string(information.number) + ", triggered at " +
                        milliseconds(information.triggerTime) + ", complete at " + milliseconds(information.timestamp) +
                        losses});
    }

    bool isJson_;
    std::uint32_t pictures_;
    std::uint32_t added_ = 0;
    Table table_;
};

void checkTarget(const CommonOptions& options, const GrabOptions& grabOptions) {
    if (grabOptions.output.empty()) {
        throw std::runtime_error("where to? give -o FILE.tif or -o FILE.png");
    }
    if (grabOptions.output != standardOutputName) {
        return;
    }
    if (options.json) {
        throw std::runtime_error("the standard output takes the pictures or the JSON of --json, not both");
    }
    if (terminalWidth() != 0) {
        throw std::runtime_error("raw pictures are nothing for a terminal: lead them to a program or a file");
    }
}

} // namespace

int grab(const CommonOptions& options, const GrabOptions& grabOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "has a camera to grab from");
    if (showCameraHelp(options, control, grabOptions.camera)) {
        return 0;
    }
    checkTarget(options, grabOptions);
    const PictureTarget target{grabOptions.output, grabOptions.frames, grabOptions.multiPage};
    checkPictureTarget(target);
    Session session = startSession(applet, options);
    makeSettings(session, grabOptions.settings);
    connectCamera(session, grabOptions.camera);
    requireNoWarnings(options);
    Losses losses(session);
    startTriggers(session, options, grabOptions.settings);

    const std::unique_ptr<PictureWriter> writer = makePictureWriter(control, target, settingsJson(session));
    const ReportsToErrors diverted(target.isStandardOutput());
    host::Acquisition acquisition(session.board(), {.pictures = grabOptions.frames});
    Triggers triggers(control, session, grabOptions.pulses, grabOptions.timeout);
    Report report(options, grabOptions.frames);
    ProgressBar progress("grabbing", grabOptions.frames);
    try {
        for (std::uint32_t i = 0; i < grabOptions.frames; ++i) {
            const host::Frame frame = triggers.await(acquisition);
            losses.collect();
            report.add(writer->write(frame), frame);
            progress.advance();
        }
        writer->finish();
    } catch (const OutputLost&) {
        throw;
    } catch (const FileError& error) {
        losses.collect();
        report.finish(losses, &error);
        throw;
    } catch (const std::exception& error) {
        losses.collect();
        try {
            writer->finish(); // a file of many pictures holds those that came
        } catch (const FileError& second) {
            printError(second.what());
        }
        report.finish(losses, &error);
        throw;
    }
    report.finish(losses);
    return 0;
}

} // namespace qelm::tool
