#include "lookup_table_file.h"
#include "output.h"
#include "output_file.h"
#include "png_file.h"
#include "set_up.h"
#include "temporary_folder.h"

#include "qelm/host/lookup_table.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <iostream>

namespace qelm::tool {
namespace {

void show(const std::vector<std::uint32_t>& table) {
    constexpr std::size_t entriesPerLine = 16;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (i % entriesPerLine == 0) {
            std::cout << std::setw(4) << i << ':';
        }
        std::cout << ' ' << std::setw(4) << table[i] << (i % entriesPerLine == entriesPerLine - 1 ? "\n" : "");
    }
}

/** Input to the right, output upwards, over a grid of eighths. */
Bitmap plot(const std::vector<std::uint32_t>& table) {
    constexpr int side = 513; // so that the grid's lines are whole pixels apart
    constexpr int gridStep = 64;
    constexpr std::uint8_t paper = 255, grid = 208, ink = 0;
    Bitmap bitmap(side, side, 1, paper);
    for (int line = 0; line < side; line += gridStep) {
        for (int i = 0; i < side; ++i) {
            *bitmap.at(line, i) = grid;
            *bitmap.at(i, line) = grid;
        }
    }
    const auto row = [](std::uint32_t entry) {
        return side - 1 -
               static_cast<int>(std::min(entry, host::largestLookupValue) * (side - 1) / host::largestLookupValue);
    };
    int previous = row(table.front());
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        const int x = static_cast<int>(i * (side - 1) / host::largestLookupValue);
        const int y = row(table[i]);
        for (int step = std::min(previous, y); step <= std::max(previous, y); ++step) { // steep parts stay a line
            *bitmap.at(x, step) = ink;
        }
        previous = y;
    }
    return bitmap;
}

} // namespace

int lut(const CommonOptions& options, const LutOptions& lutOptions) {
    if (!lutOptions.plot.empty()) {
        requireExtension(lutOptions.plot, {".png"});
    }
    const host::Applet applet = loadApplet(options);
    Session session = startSession(applet, options);
    if (!lutOptions.load.empty()) {
        session.change("FG_LUT_TYPE=LUT_TYPE_CUSTOM"); // loads nothing yet, so that a refusal names the file
        session.useFile("FG_LUT_CUSTOM_FILE", lutOptions.load);
        warnOfLookupTable(session, host::findParameter(session.parameters(), "FG_LUT_CUSTOM_FILE"));
    }
    makeSettings(session, lutOptions.settings);
    const std::vector<std::uint32_t> table = host::readLookupTable(session.board());
    if (!lutOptions.save.empty()) {
        const std::filesystem::path copy = temporaryFolder().path() / "saved.lut";
        session.useFile("FG_LUT_SAVE_FILE", copy);
        constexpr std::size_t largest = std::size_t{1} << 20; // some ten bytes for each entry
        writeFile(lutOptions.save, readFile(copy, largest));
    }
    if (!lutOptions.plot.empty()) {
        writePng(lutOptions.plot, plot(table));
    }
    if (options.json) {
        print(Json{{"table", table}});
    } else if (lutOptions.save.empty() && lutOptions.plot.empty()) {
        show(table);
    }
    return 0;
}

} // namespace qelm::tool
