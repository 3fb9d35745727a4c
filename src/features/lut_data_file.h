#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qelm::features {

/** The content of a lookup-table file. */
struct LutData {
    std::vector<std::uint32_t> data{}; ///< after a read: as many entries as the file had; further ones count as 0
    std::uint32_t id = 3;
    std::uint32_t nrOfElements = 4096;
    std::uint32_t format = 0;
    std::uint8_t number = 0;
};

/**
 * The text of a lookup-table file with the writers and readers of its layouts: grey, colour, knee and plain tables.
 * Who uses it reads the text from a file or puts it into one.
 *
 * Reading is lenient, and callers' files rely on that: title lines do not matter, a header key is taken from the first
 * line that contains it anywhere, and entry k from the next line that contains "k," anywhere. Entries without a line
 * are 0. Lines longer than 255 bytes count as several, and a line ends at a zero byte.
 */
class LutDataFile {
  public:
    LutDataFile() = default;
    explicit LutDataFile(std::string text) : text_(std::move(text)) {}

    const std::string& text() const { return text_; }

    /* Writers append to the text. Tables are written with nrOfElements entries. */

    void writeGray(const LutData& gray);
    void writeColor(const LutData& red, const LutData& green, const LutData& blue);
    void writeKnee(std::string_view section, std::span<const double> entries);
    void writeKneeColor(std::span<const double> red, std::span<const double> green, std::span<const double> blue);
    void writePlain(std::string_view header, std::span<const std::uint32_t> entries);
    void writeDoubleKey(std::string_view key, double value);

    LutData readGray() const;
    void readColor(LutData& red, LutData& green, LutData& blue) const;
    /** @return `count` entries of a section such as "[gray]" */
    std::vector<double> readKnee(std::string_view section, std::size_t count) const;
    void readKneeColor(std::size_t count, std::vector<double>& red, std::vector<double>& green,
                       std::vector<double>& blue) const;

  private:
    void writeKey(std::string_view key, std::uint32_t value);
    void writeKeys(const LutData& table);
    void writeEntries(const LutData& table);
    void writeEntries(std::span<const double> entries);

    std::uint32_t readKey(std::string_view key) const;
    LutData readTable(std::string_view section) const;

    std::string text_;
};

} // namespace qelm::features
