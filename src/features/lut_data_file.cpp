#include "features/lut_data_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

namespace qelm::features {
namespace {

constexpr std::size_t longestLine = 255;
constexpr std::string_view graySection = "[gray]";
constexpr std::string_view redSection = "[red]";
constexpr std::string_view greenSection = "[green]";
constexpr std::string_view blueSection = "[blue]";

namespace keys {
constexpr std::string_view id = "id";
constexpr std::string_view nrOfElements = "nrOfElements";
constexpr std::string_view format = "format";
constexpr std::string_view number = "number";
} // namespace keys

/** Hands out the lines of a text. */
class Lines {
  public:
    explicit Lines(std::string_view text) : remaining_(text) {}

    /** The next line, or piece of a long one, with its end; nothing after the last. */
    std::optional<std::string_view> next() {
        if (remaining_.empty()) {
            return std::nullopt;
        }
        std::string_view line = remaining_.substr(0, longestLine);
        line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
        remaining_.remove_prefix(line.size());
        return line.substr(0, line.find('\0'));
    }

    std::string_view remaining() const { return remaining_; }
    void skip(std::size_t bytes) { remaining_.remove_prefix(bytes); }

  private:
    std::string_view remaining_;
};

/** The second of the tokens between delimiters, of which neighbours count as one; empty when there is none. */
std::string_view secondToken(std::string_view line, std::string_view delimiters) {
    std::string_view token;
    for (int i = 0; i < 2; ++i) {
        line.remove_prefix(std::min(line.find_first_not_of(delimiters), line.size()));
        token = line.substr(0, line.find_first_of(delimiters));
        line.remove_prefix(token.size());
    }
    return token;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    return text;
}

/** The number at the start of a text as the C library converts it: 0 when there is none, the nearest when it does not
 *  fit. Negative numbers wrap, as they do when entries are written. */
std::uint32_t leadingInteger(std::string_view text) {
    text = withoutLeadingBlanks(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (std::size_t i = 0; i < text.size() && isDigit(text[i]) && value <= largest; ++i) {
        value = value * 10 + (text[i] - '0');
    }
    value = negative ? std::max(-value, -largest - 1) : std::min(value, largest);
    return static_cast<std::uint32_t>(value);
}

double leadingDouble(std::string_view text) {
    text = withoutLeadingBlanks(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
        // Out of range the exponent decides; digits alone cannot lead there in 255 bytes of fraction.
        const bool tiny = number.find("e-") != std::string_view::npos || number.find("E-") != std::string_view::npos;
        value = std::copysign(tiny ? 0.0 : HUGE_VAL, number.starts_with('-') ? -1.0 : 1.0);
    }
    return value;
}

/** Digits at the start of a zero-terminated text; `text` moves behind them. The number wraps around. */
std::uint32_t readDigits(const char*& text) {
    std::uint32_t number = 0;
    for (; isDigit(*text); ++text) {
        number = number * 10 + static_cast<std::uint32_t>(*text - '0');
    }
    return number;
}

/**
 * Reads a line as the writer makes it, "<index>,<value>;" and its end, from a zero-terminated text.
 * @return its length, or 0 when the line is of another shape
 */
std::size_t readWrittenLine(const char* text, std::uint32_t index, std::uint32_t& value) {
    constexpr std::ptrdiff_t mostDigits = 9; // do not wrap around
    const char* place = text;
    const std::uint32_t number = readDigits(place);
    const bool canonical = place > text && place - text <= mostDigits && (*text != '0' || place - text == 1);
    if (!canonical || number != index || *place != ',') {
        return 0;
    }
    const char* const valueStart = ++place;
    const std::uint32_t read = readDigits(place);
    const std::ptrdiff_t digits = place - valueStart;
    if (digits == 0 || digits > mostDigits || place[0] != ';' || place[1] != '\n') {
        return 0;
    }
    value = read;
    return static_cast<std::size_t>(place + 2 - text);
}

/** Hands the value of entry 0, 1, ... to `take`, in order, up to `count` or the end of the text. */
template <typename Convert, typename Take>
void readEntries(const std::string& text, std::string_view section, std::uint32_t count, Convert convert, Take take) {
    Lines lines(text);
    std::optional<std::string_view> line;
    do {
        line = lines.next();
    } while (line && line->find(section) == std::string_view::npos);

    std::uint32_t index = 0;
    for (; line && index < count; line = lines.next()) {
        if (line->find(std::to_string(index) + ',') != std::string_view::npos) {
            take(convert(secondToken(*line, ",")));
            ++index;
        }
        if constexpr (std::is_same_v<decltype(convert(*line)), std::uint32_t>) {
            // Lines in order, as they are written, need no search. The rest ends where the zero-terminated text does.
            const char* const start = lines.remaining().data();
            const char* place = start;
            std::uint32_t value = 0;
            while (index < count) {
                const std::size_t length = readWrittenLine(place, index, value);
                if (length == 0) {
                    break;
                }
                take(value);
                place += length;
                ++index;
            }
            lines.skip(static_cast<std::size_t>(place - start));
        }
    }
}

/** Counts entries in text: "0,", "1,", ... */
class Index {
  public:
    Index() { print(); }

    std::string_view text() const { return {text_.data(), length_}; }

    void advance() {
        ++value_;
        char& unit = text_[length_ - 2];
        if (unit < '9') {
            ++unit;
        } else {
            print();
        }
    }

  private:
    void print() {
        char* end = std::to_chars(text_.data(), text_.data() + text_.size(), value_).ptr;
        *end++ = ',';
        length_ = static_cast<std::size_t>(end - text_.data());
    }

    std::uint32_t value_ = 0;
    std::array<char, 16> text_{};
    std::size_t length_ = 0;
};

constexpr std::size_t longestEntryLine = 32;
constexpr int keyPrecision = 12;
constexpr std::size_t longestDouble = 400; // digits before and after the point

template <std::size_t size>
std::string_view textOf(const std::array<char, size>& buffer, std::to_chars_result result) {
    return {buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())};
}

} // namespace

std::uint32_t LutDataFile::readKey(std::string_view key) const {
    Lines lines(text_);
    while (const auto line = lines.next()) {
        if (line->find(key) != std::string_view::npos) {
            return leadingInteger(secondToken(*line, "='"));
        }
    }
    return 0;
}

LutData LutDataFile::readTable(std::string_view section) const {
    LutData table;
    table.id = readKey(keys::id);
    table.nrOfElements = readKey(keys::nrOfElements);
    table.format = readKey(keys::format);
    table.number = static_cast<std::uint8_t>(readKey(keys::number));
    // Grows with the lines that are there: the count in a file need not be true.
    constexpr std::size_t shortestLine = 3;
    table.data.reserve(std::min<std::size_t>(table.nrOfElements, text_.size() / shortestLine));
    readEntries(text_, section, table.nrOfElements, leadingInteger,
                [&](std::uint32_t value) { table.data.push_back(value); });
    return table;
}

LutData LutDataFile::readGray() const {
    return readTable(graySection);
}

void LutDataFile::readColor(LutData& red, LutData& green, LutData& blue) const {
    red = readTable(redSection);
    green = readTable(greenSection);
    blue = readTable(blueSection);
}

std::vector<double> LutDataFile::readKnee(std::string_view section, std::size_t count) const {
    std::vector<double> entries(count);
    auto entry = entries.begin();
    readEntries(text_, section, static_cast<std::uint32_t>(count), leadingDouble,
                [&](double value) { *entry++ = value; });
    return entries;
}

void LutDataFile::readKneeColor(std::size_t count, std::vector<double>& red, std::vector<double>& green,
                                std::vector<double>& blue) const {
    red = readKnee(redSection, count);
    green = readKnee(greenSection, count);
    blue = readKnee(blueSection, count);
}

void LutDataFile::writeGray(const LutData& gray) {
    text_.append("# Lut data file v1.1\n\n").append("\n\n").append(graySection).append("\n\n");
    writeKeys(gray);
    writeEntries(gray);
}

void LutDataFile::writeColor(const LutData& red, const LutData& green, const LutData& blue) {
    text_.append("# Lut data file v1.1");
    const std::pair<std::string_view, const LutData*> channels[] = {
        {redSection, &red}, {greenSection, &green}, {blueSection, &blue}};
    for (const auto& [section, table] : channels) {
        text_.append("\n\n").append(section).append("\n\n");
        writeKeys(*table);
        writeEntries(*table);
    }
}

void LutDataFile::writeKnee(std::string_view section, std::span<const double> entries) {
    text_.append("# KneeLut data file v1.0\n\n").append(section).append("\n\n");
    writeEntries(entries);
}

void LutDataFile::writeKneeColor(std::span<const double> red, std::span<const double> green,
                                 std::span<const double> blue) {
    text_.append("# KneeLut data file v1.1");
    const std::pair<std::string_view, std::span<const double>> channels[] = {
        {redSection, red}, {greenSection, green}, {blueSection, blue}};
    for (const auto& [section, entries] : channels) {
        text_.append("\n\n").append(section).append("\n\n");
        writeEntries(entries);
    }
}

void LutDataFile::writePlain(std::string_view header, std::span<const std::uint32_t> entries) {
    LutData table;
    table.data.assign(entries.begin(), entries.end());
    table.nrOfElements = static_cast<std::uint32_t>(entries.size());
    text_.append(header);
    writeKey(keys::nrOfElements, table.nrOfElements);
    writeEntries(table);
}

void LutDataFile::writeDoubleKey(std::string_view key, double value) {
    // Not printf: the decimal point must not follow the host's locale.
    std::array<char, 32> number{};
    const auto result =
        std::to_chars(number.data(), number.data() + number.size(), value, std::chars_format::general, keyPrecision);
    text_.append(key).append("=").append(textOf(number, result)).append(";\n");
}

void LutDataFile::writeKey(std::string_view key, std::uint32_t value) {
    text_.append(key).append("=").append(std::to_string(static_cast<std::int32_t>(value))).append(";\n");
}

void LutDataFile::writeKeys(const LutData& table) {
    writeKey(keys::id, table.id);
    writeKey(keys::nrOfElements, table.nrOfElements);
    writeKey(keys::format, table.format);
    writeKey(keys::number, table.number);
}

void LutDataFile::writeEntries(const LutData& table) {
    const std::size_t start = text_.size();
    text_.resize(start + longestEntryLine * table.nrOfElements);
    char* place = text_.data() + start;
    Index index;
    for (std::uint32_t i = 0; i < table.nrOfElements; ++i, index.advance()) {
        const std::string_view indexText = index.text();
        place = std::copy(indexText.begin(), indexText.end(), place);
        const auto entry = i < table.data.size() ? static_cast<std::int32_t>(table.data[i]) : 0;
        place = std::to_chars(place, place + longestEntryLine, entry).ptr;
        *place++ = ';';
        *place++ = '\n';
    }
    text_.resize(static_cast<std::size_t>(place - text_.data()));
}

void LutDataFile::writeEntries(std::span<const double> entries) {
    std::array<char, longestDouble> number{};
    Index index;
    for (const double entry : entries) {
        const auto result =
            std::to_chars(number.data(), number.data() + number.size(), entry, std::chars_format::fixed, keyPrecision);
        text_.append(index.text()).append(textOf(number, result)).append(";\n");
        index.advance();
    }
}

} // namespace qelm::features
