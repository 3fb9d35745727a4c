#include "model/camera/camera_options.h"

#include "model/camera/camera_error.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

namespace qelm::virtual_board {
namespace {

template <class Value>
bool read(std::string_view text, Value& value, Value least, Value most) {
    Value number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || !(number >= least && number <= most)) {
        return false;
    }
    value = number;
    return true;
}

template <class Value, std::size_t count>
bool choose(std::string_view text, Value& value, const std::pair<std::string_view, Value> (&choices)[count]) {
    const auto* found = std::find_if(std::begin(choices), std::end(choices),
                                     [text](const auto& choice) { return choice.first == text; });
    if (found == std::end(choices)) {
        return false;
    }
    value = found->second;
    return true;
}

bool readTime(std::string_view text, std::optional<double>& microseconds) {
    constexpr double least = 0.001, most = 1e7;
    double value = 0;
    if (!read(text, value, least, most)) {
        return false;
    }
    microseconds = value;
    return true;
}

template <double SensorSettings::*setting>
bool counts(CameraOptions& options, std::string_view text) {
    return read(text, options.sensor.*setting, 0.0, Sensor::largestCounts);
}

template <double SensorSettings::*setting>
bool percent(CameraOptions& options, std::string_view text) {
    return read(text, options.sensor.*setting, 0.0, 100.0);
}

template <std::uint32_t SensorSettings::*setting>
bool pixels(CameraOptions& options, std::string_view text) {
    return read(text, options.sensor.*setting, 0U, Sensor::mostDefects);
}

struct Key {
    std::string_view name;
    std::string_view values;  // follows "takes"
    std::string_view meaning; // with the default
    bool (*set)(CameraOptions&, std::string_view);
};

constexpr Key keys[] = {
    {"geometry", "2XE_2YE, 2X_2YE or 2XM_2YE", "order of the taps (2XE_2YE)",
     [](CameraOptions& options, std::string_view text) {
         constexpr std::string_view prefix = "Geometry_"; // as the applet writes it
         if (text.starts_with(prefix)) {
             text.remove_prefix(prefix.size());
         }
         return choose<Geometry>(text, options.geometry,
                                 {{"2XE_2YE", Geometry::outerToMiddle},
                                  {"2X_2YE", Geometry::leftToRight},
                                  {"2XM_2YE", Geometry::middleToOuter}});
     }},
    {"bits", "8, 10 or 12", "bits of a pixel on the link (8)",
     [](CameraOptions& options, std::string_view text) {
         return choose<LinkFormat>(text, options.format,
                                   {{"8", LinkFormat::bits8}, {"10", LinkFormat::bits10}, {"12", LinkFormat::bits12}});
     }},
    {"width", "16 to 8192 in steps of 16", "pixels of a line (1024)",
     [](CameraOptions& options, std::string_view text) {
         return read(text, options.width, 16U, CameraOptions::largestSide) && options.width % 16 == 0;
     }},
    {"height", "2 to 8192 in steps of 2", "lines (1024)",
     [](CameraOptions& options, std::string_view text) {
         return read(text, options.height, 2U, CameraOptions::largestSide) && options.height % 2 == 0;
     }},
    {"scene", "chart, ramp, black, gray, white or a file", "what it sees; a grey TIFF or PNG file (chart)",
     [](CameraOptions& options, std::string_view text) {
         options.scene = text;
         return !text.empty();
     }},
    {"mode", "triggered or free", "free: frame after frame (triggered)",
     [](CameraOptions& options, std::string_view text) {
         return choose<bool>(text, options.isTriggered, {{"triggered", true}, {"free", false}});
     }},
    {"line", "0 to 3", "camera-control line that triggers (0)",
     [](CameraOptions& options, std::string_view text) { return read(text, options.triggerLine, 0U, 3U); }},
    {"polarity", "low or high", "level of that line that exposes (low)",
     [](CameraOptions& options, std::string_view text) {
         return choose<bool>(text, options.isActiveLow, {{"low", true}, {"high", false}});
     }},
    {"exposure", "width or 0.001 to 10000000", "by the trigger's width, or in microseconds (width)",
     [](CameraOptions& options, std::string_view text) {
         if (text == "width") {
             options.exposure.reset();
             return true;
         }
         return readTime(text, options.exposure);
     }},
    {"nominal", "any or 0.001 to 10000000", "microseconds of exposure that show the scene as it is (any)",
     [](CameraOptions& options, std::string_view text) {
         if (text == "any") {
             options.nominalExposure.reset();
             return true;
         }
         return readTime(text, options.nominalExposure);
     }},
    {"clock", "20 to 85", "pixel clock in MHz (80)",
     [](CameraOptions& options, std::string_view text) { return read(text, options.pixelClock, 20.0, 85.0); }},
    {"line_gap", "0 to 1000000", "clocks after each line (0)",
     [](CameraOptions& options, std::string_view text) { return read(text, options.lineGap, 0U, 1'000'000U); }},
    {"frame_gap", "0 to 1000000000", "clocks after each frame (0)",
     [](CameraOptions& options, std::string_view text) { return read(text, options.frameGap, 0U, 1'000'000'000U); }},
    {"sensor", "ideal or typical", "sets all of the following: none or some of each (ideal)",
     [](CameraOptions& options, std::string_view text) {
         const std::uint64_t seed = options.sensor.seed;
         const bool known =
             choose<SensorSettings>(text, options.sensor, {{"ideal", {}}, {"typical", SensorSettings::typical()}});
         options.sensor.seed = seed;
         return known;
     }},
    {"black", "0 to 1024", "black level in counts of 4096", counts<&SensorSettings::black>},
    {"offset", "0 to 1024", "fixed pattern of the pixels, deviation in counts", counts<&SensorSettings::offset>},
    {"column_offset", "0 to 1024", "fixed pattern of the columns, deviation in counts",
     counts<&SensorSettings::columnOffset>},
    {"gain", "0 to 100", "non-uniformity of the pixels' gain, deviation in percent", percent<&SensorSettings::gain>},
    {"vignetting", "0 to 100", "light that the corners lack, in percent", percent<&SensorSettings::vignetting>},
    {"noise", "0 to 1024", "read noise, deviation in counts", counts<&SensorSettings::noise>},
    {"dead", "0 to 100000", "pixels that stay black", pixels<&SensorSettings::deadPixels>},
    {"hot", "0 to 100000", "pixels that are always white", pixels<&SensorSettings::hotPixels>},
    {"seed", "0 to 18446744073709551615", "of all that is random: another sensor of its kind (1)",
     [](CameraOptions& options, std::string_view text) {
         return read(text, options.sensor.seed, std::uint64_t{0}, ~std::uint64_t{0});
     }},
    {"first_frame", "0 to 18446744073709551615", "number of the first frame: the same sensor, other noise (0)",
     [](CameraOptions& options, std::string_view text) {
         return read(text, options.firstFrame, std::uint64_t{0}, ~std::uint64_t{0});
     }},
};

void apply(CameraOptions& options, std::string_view part) {
    const std::size_t sign = part.find('=');
    std::string name(part.substr(0, sign));
    std::replace(name.begin(), name.end(), '-', '_');
    const auto* key =
        std::find_if(std::begin(keys), std::end(keys), [&name](const Key& each) { return each.name == name; });
    if (key == std::end(keys)) {
        std::string known;
        for (const Key& each : keys) {
            known.append(known.empty() ? "" : ", ").append(each.name);
        }
        throw CameraError("there is no camera option \"" + std::string(part.substr(0, sign)) + "\"; there are " +
                          known);
    }
    const std::string_view value = sign == std::string_view::npos ? std::string_view() : part.substr(sign + 1);
    if (!key->set(options, value)) {
        throw CameraError("the camera option \"" + name + "\" takes " + std::string(key->values) + ", not \"" +
                          std::string(value) + "\"");
    }
}

} // namespace

CameraOptions CameraOptions::parse(std::string_view text) {
    CameraOptions options;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        apply(options, text.substr(0, comma));
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return options;
}

std::string CameraOptions::help() {
    constexpr std::size_t nameColumn = 2, valuesColumn = 18, meaningColumn = 62;
    std::string text;
    for (const Key& key : keys) {
        std::string line(nameColumn, ' ');
        line.append(key.name).resize(valuesColumn, ' ');
        line.append(key.values).resize(meaningColumn, ' ');
        text.append(line).append(key.meaning).append("\n");
    }
    return text;
}

void CameraOptions::check() const {
    if (width < 16 || width > largestSide || width % 16 != 0 || height < 2 || height > largestSide || height % 2 != 0) {
        throw CameraError("a camera has 16 to 8192 pixels in a line, in steps of 16, and 2 to 8192 lines, in steps of "
                          "2; not " +
                          std::to_string(width) + " x " + std::to_string(height));
    }
}

std::uint64_t CameraOptions::readoutTime() const {
    const std::uint64_t clocks = std::uint64_t{height / 2} * (width / 2 + lineGap) + frameGap;
    return static_cast<std::uint64_t>(std::ceil(static_cast<double>(clocks) * 1000 / pixelClock));
}

double CameraOptions::exposureFactor(std::uint64_t exposureTime) const {
    return nominalExposure ? static_cast<double>(exposureTime) / 1000 / *nominalExposure : 1.0;
}

} // namespace qelm::virtual_board
