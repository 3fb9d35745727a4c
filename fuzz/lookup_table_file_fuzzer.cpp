// Lookup-table files: the readers of all layouts, and what the writer makes of what was read.

#include "fuzzer.h"

#include "features/lut_data_file.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qelm;
    using features::LutData;
    using features::LutDataFile;
    constexpr std::size_t kneeEntries = 64;
    const LutDataFile file(std::string(reinterpret_cast<const char*>(data), size));
    LutData gray = file.readGray();
    fuzz::expect(gray.data.size() <= gray.nrOfElements && gray.data.size() <= size, "entries come from lines");
    LutData red;
    LutData green;
    LutData blue;
    file.readColor(red, green, blue);
    file.readKnee("[gray]", kneeEntries);
    std::vector<double> knees[3];
    file.readKneeColor(kneeEntries, knees[0], knees[1], knees[2]);

    constexpr std::uint32_t mostElements = 4096; // a true file would be as long as its count
    gray.nrOfElements = std::min(gray.nrOfElements, mostElements);
    gray.data.resize(gray.nrOfElements);
    LutDataFile written;
    written.writeGray(gray);
    const LutData again = LutDataFile(written.text()).readGray();
    fuzz::expect(again.nrOfElements == gray.nrOfElements && again.id == gray.id && again.format == gray.format &&
                     again.number == gray.number,
                 "header keys come back");
    fuzz::expect(again.data == gray.data, "entries come back");
    return 0;
}
