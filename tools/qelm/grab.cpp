#include "camera.h"
#include "interruption.h"
#include "losses.h"
#include "output.h"
#include "output_file.h"
#include "progress.h"
#include "set_up.h"
#include "stimulus.h"

#include "qelm/host/text.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

struct PictureFormat {
    std::int32_t width, height, bits;

    size_t pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
    size_t bytes() const { return pixels() * static_cast<size_t>(bits) / 8; }
};

PictureFormat formatOf(const Session& session) {
    const host::Board& board = session.board();
    return {board.get<std::int32_t>(FG_WIDTH), board.get<std::int32_t>(FG_HEIGHT),
            board.get<std::int32_t>(FG_FORMAT) == FG_GRAY16 ? 16 : 8};
}

struct Levels {
    unsigned minimum = 65535, maximum = 0;
    double mean = 0, deviation = 0;

    /** How much the pixels differ from each other, in percent of their mean; 0 for a black picture. */
    double nonUniformity() const { return mean > 0 ? deviation / mean * 100 : 0; }
};

template <class Pixel>
Levels levelsOf(const void* bytes, size_t count) {
    Levels levels;
    double sum = 0, squares = 0;
    for (size_t i = 0; i < count; ++i) {
        Pixel pixel;
        std::memcpy(&pixel, static_cast<const char*>(bytes) + i * sizeof pixel, sizeof pixel);
        levels.minimum = std::min<unsigned>(levels.minimum, pixel);
        levels.maximum = std::max<unsigned>(levels.maximum, pixel);
        sum += pixel;
        squares += static_cast<double>(pixel) * pixel;
    }
    levels.mean = sum / static_cast<double>(count);
    levels.deviation = std::sqrt(std::max(0.0, squares / static_cast<double>(count) - levels.mean * levels.mean));
    return levels;
}

/** Tells of the pictures, in a space that does not grow with their number: of many pictures only the last as text. */
class Report {
  public:
    Report(const CommonOptions& options, std::uint32_t pictures) : isJson_(options.json), pictures_(pictures) {}

    void add(const std::string& file, const PictureFormat& format, const Levels& levels) {
        ++added_;
        if (isJson_) {
            noteJsonStarted();
            std::cout << (added_ == 1 ? "{\"pictures\": [\n  " : ",\n  ") << dump(json(file, format, levels));
        } else {
            if (pictures_ > mostLines) {
                table_ = Table();
            }
            table_.add({file,
                        std::to_string(format.width) + " x " + std::to_string(format.height) + ", " +
                            std::to_string(format.bits) + " bits",
                        text(levels)});
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
        noteJsonStarted();
        std::cout << (added_ == 0 ? "{\"pictures\": [" : "\n") << "],\n\"losses\": " << losses.json().dump()
                  << ",\n\"warnings\": " << dump(warnings());
        if (error != nullptr) {
            std::cout << ",\n\"error\": " << dump(failureJson(*error));
        }
        std::cout << "}\n";
    }

  private:
    static constexpr std::uint32_t mostLines = 20;

    static Json json(const std::string& file, const PictureFormat& format, const Levels& levels) {
        return {{"file", file},
                {"width", format.width},
                {"height", format.height},
                {"bits", format.bits},
                {"minimum", levels.minimum},
                {"maximum", levels.maximum},
                {"mean", levels.mean},
                {"nonUniformityPercent", levels.nonUniformity()}};
    }
    static std::string text(const Levels& levels) {
        std::ostringstream text;
        text << std::fixed << std::setprecision(2) << levels.minimum << " to " << levels.maximum << ", mean "
             << levels.mean << ", non-uniformity " << levels.nonUniformity() << " %";
        return text.str();
    }

    bool isJson_;
    std::uint32_t pictures_;
    std::uint32_t added_ = 0;
    Table table_;
};

/** "out.tif" for a single picture; "out-001.tif" and so on, as many digits as the last one needs. */
std::filesystem::path fileOf(const GrabOptions& options, std::uint32_t number) {
    if (options.frames == 1) {
        return options.output;
    }
    std::string digits = std::to_string(number);
    digits.insert(0, std::to_string(options.frames).size() - digits.size(), '0');
    std::filesystem::path file = options.output;
    file.replace_filename(options.output.stem().string() + "-" + digits + options.output.extension().string());
    return file;
}

/** Gives the triggers that no generator gives, until a picture has come. */
class Triggers {
  public:
    Triggers(const host::VirtualBoardFunctions& control, Session& session, const GrabOptions& options)
        : stimulus_(control, session.board())
        , session_(session)
        , options_(options)
        , mode_(session.board().get<std::uint32_t>(FG_AREATRIGGERMODE)) {}

    bool await(const PictureStream& stream, std::int64_t picture) {
        if (mode_ == ATM_GENERATOR) {
            return stream.wait(picture, static_cast<std::int32_t>(std::ceil(options_.timeout)));
        }
        const double period = static_cast<double>(options_.pulses.period) * 1e-6;
        for (double waited = 0; stream.last() < picture; waited += period) {
            if (waited >= options_.timeout) {
                return false;
            }
            if (mode_ == ATM_EXTERNAL) {
                stimulus_.pulse(options_.pulses);
            } else {
                session_.board().set(FG_SENDSOFTWARETRIGGER,
                                     std::uint32_t{1}); // refused while busy: then the next one does
                stimulus_.pass(options_.pulses.period * 1000);
            }
        }
        return true;
    }

  private:
    Stimulus stimulus_;
    Session& session_;
    const GrabOptions& options_;
    std::uint32_t mode_;
};

std::string noPicture(const Session& session, const GrabOptions& options, std::uint32_t number) {
    const host::Reference state = host::parseReference(session.parameters(), "FG_TRIGGERSTATE");
    std::ostringstream text;
    text << "picture " << number << " did not come within " << options.timeout
         << " s of virtual time: FG_TRIGGERSTATE is " << valueText(*state.parameter, session.read(state))
         << "; the camera waits for a pulse on the camera-control line that its options name";
    return text.str();
}

void writePicture(const host::VirtualBoardFunctions& control, const std::filesystem::path& file, const void* pixels,
                  const PictureFormat& format) {
    OutputFile output(file);
    errno = 0;
    if (control.writePicture(host::systemFileName(output.closedPath()).c_str(), pixels, format.width, format.height,
                             format.bits) != 0) {
        throw FileError(file, "written", errno != 0 ? errno : EIO);
    }
    output.commit();
}

} // namespace

int grab(const CommonOptions& options, const GrabOptions& grabOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "has a camera to grab from");
    if (showCameraHelp(options, control, grabOptions.camera)) {
        return 0;
    }
    if (grabOptions.output.empty()) {
        throw std::runtime_error("where to? give -o FILE.tif or -o FILE.png");
    }
    requireExtension(grabOptions.output, {".png", ".tif", ".tiff"});
    Session session = startSession(applet, options);
    makeSettings(session, grabOptions.settings);
    connectCamera(session, grabOptions.camera);
    requireNoWarnings(options);
    Losses losses(session);
    startTriggers(session, options, grabOptions.settings);

    const PictureFormat format = formatOf(session);
    const PictureStream stream(control, session, format.bytes(), grabOptions.frames);
    Triggers triggers(control, session, grabOptions);
    Report report(options, grabOptions.frames);
    ProgressBar progress("grabbing", grabOptions.frames);
    try {
        for (std::uint32_t number = 1; number <= grabOptions.frames; ++number) {
            checkForInterruption();
            if (!triggers.await(stream, number)) {
                throw std::runtime_error(noPicture(session, grabOptions, number));
            }
            losses.collect();
            const void* pixels = stream.picture(number);
            const std::filesystem::path file = fileOf(grabOptions, number);
            writePicture(control, file, pixels, format);
            report.add(file.string(), format,
                       format.bits == 16 ? levelsOf<std::uint16_t>(pixels, format.pixels())
                                         : levelsOf<std::uint8_t>(pixels, format.pixels()));
            progress.advance();
        }
    } catch (const std::exception& error) {
        losses.collect();
        report.finish(losses, &error);
        throw;
    }
    report.finish(losses);
    return 0;
}

} // namespace qelm::tool
