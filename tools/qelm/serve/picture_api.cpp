// Pictures: whole, as statistics, recorded.

#include "serve/api.h"
#include "serve/scratch_file.h"

#include "output_file.h"
#include "picture_writer.h"
#include "png_file.h"
#include "tiff_file.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <stdexcept>
#include <thread>

namespace qelm::server {
namespace {

using namespace std::chrono_literals;

double microseconds(std::uint64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / 1e3;
}

Json optionalTime(const std::optional<std::uint64_t>& nanoseconds) {
    return nanoseconds ? Json(microseconds(*nanoseconds)) : Json();
}

Headers frameHeaders(const host::LiveFrame& frame) {
    const host::FrameInformation& information = frame.frame.information();
    Headers headers{{"X-Frame-Number", std::to_string(frame.sequence)},
                    {"X-Frame-Width", std::to_string(information.format.width)},
                    {"X-Frame-Height", std::to_string(information.format.height)},
                    {"X-Frame-Bits", std::to_string(information.format.bits)},
                    {"X-Frame-Lost", std::to_string(frame.lost)}};
    if (information.timestamp) {
        headers["X-Frame-Microseconds"] = std::to_string(*information.timestamp / 1000);
    }
    return headers;
}

void requireInside(std::int64_t x, std::int64_t y, const host::FrameFormat& format) {
    if (x >= format.width || y >= format.height) {
        throw ApiError(409, "The picture has " + std::to_string(format.width) + " x " + std::to_string(format.height) +
                                " pixels.");
    }
}

/** Pictures one after the other, each encoded for itself, for players that know nothing else. */
Answer pictureStream(ServedBoard& served, const char* type,
                     std::string (*encode)(std::span<const std::uint8_t> pixels, int width, int height)) {
    constexpr const char* boundary = "picture";
    Answer answer{.head = {.contentType = std::string("multipart/x-mixed-replace; boundary=") + boundary}};
    answer.stream = [&served, type, encode](BodyStream& body) {
        const std::shared_ptr<void> look = served.live().look();
        std::uint64_t shown = 0;
        std::uint64_t seen = 0;
        while (!served.ending()) {
            const std::optional<host::LiveFrame> frame = served.live().newest();
            if (!frame || frame->sequence == shown) {
                served.feed().wait(seen, 500ms);
                continue;
            }
            shown = frame->sequence;
            const View view = fittingView({}, frame->frame.format());
            const std::string picture = encode(reduceToBytes(frame->frame, view), view.outWidth, view.outHeight);
            if (!body.write(std::string("--") + boundary + "\r\nContent-Type: " + type +
                            "\r\nContent-Length: " + std::to_string(picture.size()) + "\r\n\r\n" + picture + "\r\n")) {
                return;
            }
        }
    };
    return answer;
}

/** Each page with what is known about it, and the settings of now. */
void writeTiff(const std::filesystem::path& file, const std::vector<host::Frame>& frames, ServedBoard& served) {
    const Json settings = served.live().run([&](host::Board&) { return tool::settingsJson(served.session()); });
    tool::TiffFile tiff(file);
    for (const host::Frame& frame : frames) {
        Json description = tool::informationJson(frame.information());
        description["settingsWhenSaved"] = settings; // of a paused board they may be newer than the picture
        tiff.add(frame, description.dump(-1, ' ', true, Json::error_handler_t::replace)); // ASCII
    }
    tiff.commit();
}

} // namespace

Answer fileAnswer(const std::filesystem::path& file, const std::string& contentType, const std::string& name) {
    constexpr std::size_t largest = std::size_t{1} << 30U;
    Answer answer{.head = {.contentType = contentType, .body = tool::readFile(file, largest)}};
    answer.head.headers["Content-Disposition"] = "attachment; filename=\"" + name + "\"";
    return answer;
}

Json frameJson(const host::LiveFrame& frame) {
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const Milliseconds age = std::chrono::steady_clock::now() - frame.ready;
    const Milliseconds ready = Milliseconds(std::chrono::system_clock::now().time_since_epoch()) - age;
    const host::FrameInformation& information = frame.frame.information();
    return {{"number", frame.sequence},
            {"microseconds", optionalTime(information.timestamp)},
            {"triggerMicroseconds", optionalTime(information.triggerTime)},
            {"lost", frame.lost},
            {"width", information.format.width},
            {"height", information.format.height},
            {"bits", information.format.bits},
            {"full", information.format.fullScale},
            {"ready", ready.count()}};
}

Json histogramJson(const host::LiveFrame& frame, const Histogram& histogram) {
    return {{"frame", frame.sequence},   {"bits", frame.frame.format().bits}, {"full", histogram.full},
            {"step", histogram.step},    {"minimum", histogram.minimum},      {"maximum", histogram.maximum},
            {"mean", histogram.mean},    {"saturated", histogram.saturated},  {"pixels", histogram.pixels},
            {"counts", histogram.counts}};
}

Json statisticsJson(ServedBoard& served, bool withHistogram) {
    Json json = served.live().run([&](host::Board& board) {
        const auto read = [&board](std::int32_t id) -> Json {
            std::uint32_t value = 0;
            return board.get(id, value) == 0 ? Json(value) : Json();
        };
        return Json{{"fillLevel", read(FG_FILLLEVEL)},
                    {"overflow", read(FG_OVERFLOW)},
                    {"queue", read(FG_TRIGGERQUEUE_FILLLEVEL)},
                    {"cameraStatus", read(FG_CAMSTATUS)}};
    });
    json["warning"] = served.cameraJson()["warning"];
    json["time"] = timeJson(served.live().pace());
    json["acquiring"] = served.live().acquiring();
    json["problem"] = served.live().problem();
    json["frames"] = served.live().frames();
    json["framesPerSecond"] = served.live().framesPerSecond();
    if (const std::optional<host::LiveFrame> frame = served.live().newest()) {
        json["lost"] = frame->lost;
        if (withHistogram) {
            json["histogram"] = histogramJson(*frame, *served.histogram(*frame));
        }
    }
    return json;
}

Answer getStatistics(ServedBoard& served, const Call& /*call*/) {
    return {jsonResponse(statisticsJson(served, true))};
}

Answer getSnapshot(ServedBoard& served, const Call& call) {
    const host::LiveFrame frame = served.newestFrame();
    const std::string format = call.text("format", "png");
    Answer answer;
    if (format == "raw") {
        const auto bytes = frame.frame.bytes();
        answer.head.contentType = "application/octet-stream";
        answer.head.body.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    } else if (format == "png" || format == "tiff") {
        const ScratchFile file(served, "." + format);
        if (format == "png") {
            tool::writePng(served.control(), file.path(), frame.frame);
        } else {
            writeTiff(file.path(), {frame.frame}, served);
        }
        answer = fileAnswer(file.path(), "image/" + format, "frame-" + std::to_string(frame.sequence) + "." + format);
    } else {
        throw ApiError(400, R"("format" has to be png, tiff or raw.)");
    }
    answer.head.headers.merge(frameHeaders(frame));
    return answer;
}

Answer getPixel(ServedBoard& served, const Call& call) {
    const host::LiveFrame frame = served.newestFrame();
    const std::int64_t x = call.number("x", 0, INT32_MAX);
    const std::int64_t y = call.number("y", 0, INT32_MAX);
    requireInside(x, y, frame.frame.format());
    return {jsonResponse({{"x", x},
                          {"y", y},
                          {"value", frame.frame.pixel(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y))},
                          {"frame", frame.sequence},
                          {"bits", frame.frame.format().bits},
                          {"full", frame.frame.format().fullScale}})};
}

Answer getProfile(ServedBoard& served, const Call& call) {
    const host::LiveFrame frame = served.newestFrame();
    std::int32_t ends[4];
    constexpr const char* names[] = {"x0", "y0", "x1", "y1"};
    for (std::size_t i = 0; i < std::size(ends); ++i) {
        ends[i] = static_cast<std::int32_t>(call.number(names[i], 0, INT32_MAX));
    }
    requireInside(ends[0], ends[1], frame.frame.format());
    requireInside(ends[2], ends[3], frame.frame.format());
    return {jsonResponse({{"frame", frame.sequence},
                          {"bits", frame.frame.format().bits},
                          {"full", frame.frame.format().fullScale},
                          {"values", profile(frame.frame, ends[0], ends[1], ends[2], ends[3])}})};
}

Answer getHistogram(ServedBoard& served, const Call& /*call*/) {
    const host::LiveFrame frame = served.newestFrame();
    return {jsonResponse(histogramJson(frame, *served.histogram(frame)))};
}

Answer postRecord(ServedBoard& served, const Call& call) {
    constexpr std::int64_t mostFrames = 100;
    const std::vector<host::Frame> frames =
        served.collect(static_cast<std::size_t>(call.integer("frames", 1, mostFrames)));
    const ScratchFile file(served, ".tiff");
    writeTiff(file.path(), frames, served);
    return fileAnswer(file.path(), "image/tiff", "frames.tiff");
}

Answer getJpegStream(ServedBoard& served, const Call& /*call*/) {
    return pictureStream(served, "image/jpeg", tool::encodeJpeg);
}

Answer getPngStream(ServedBoard& served, const Call& /*call*/) {
    return pictureStream(served, "image/png", tool::encodePng);
}

} // namespace qelm::server
