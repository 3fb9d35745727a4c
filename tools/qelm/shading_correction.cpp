#include "shading_correction.h"

#include "tiff_file.h"

#include <algorithm>

namespace qelm::tool {

void switchCorrection(Session& session, bool on, bool deadPixels) {
    const auto change = [&](const char* name, bool value) {
        session.change(std::string(name) + (value ? "=FG_ON" : "=FG_OFF"));
    };
    change("FG_SHADING_OFFSET_ENABLE", on);
    change("FG_SHADING_GAIN_ENABLE", on);
    change("FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE", on && deadPixels);
}

void writeReference(const std::filesystem::path& file, const Reference& reference, const Average& average,
                    const std::string& description) {
    const host::FrameFormat format{average.width(), average.height(), reference.bits,
                                   reference.bits == 8 ? 255U : 65535U};
    host::FramePool memory(format.bytes(), 0);
    const std::shared_ptr<std::byte[]> bytes = memory.take();
    std::ranges::transform(reference.data, bytes.get(), [](std::uint8_t value) { return std::byte{value}; });
    TiffFile tiff(file);
    tiff.add(host::Frame({.format = format, .number = 1}, bytes), description);
    tiff.commit();
}

} // namespace qelm::tool
