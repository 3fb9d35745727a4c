#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/** The syntax of configuration files (".kcf"): sections of key lines. */
namespace qelm::configuration {

/** What stands in front of the header's keys; with the line feed: nothing may stand behind it on its line. */
inline constexpr std::string_view headerSection = "[Kamerasektion]\n";
/** What stands in front of the keys of a port, "[Port A]" for 0. */
std::string portSection(std::uint32_t port);
/** A value that holds this counts as missing. */
inline constexpr std::string_view missingMark = "Error";

/**
 * The text of a configuration file, held in memory and indexed for look-ups. Answers what reading the file from its
 * start with a line buffer of 256 bytes in text mode would: lines longer than 255 characters count as several, a
 * carriage return before a line feed is absorbed, and a zero byte hides the rest of its line.
 */
class ConfigurationText {
  public:
    /** Longest piece of a line that is looked at as one. */
    static constexpr std::size_t longestLine = 255;
    /** Longest text that is read: far more than any configuration needs, far less than would hurt. */
    static constexpr std::size_t largestText = std::size_t{4} << 20;

    /** @param text at most the largest text */
    explicit ConfigurationText(std::string text);
    ConfigurationText(const ConfigurationText&) = delete; // the index refers to the text by position
    ConfigurationText& operator=(const ConfigurationText&) = delete;

    /**
     * The value of the first line that contains the key anywhere: its second piece between "=" and "'". Nothing when
     * no line contains the key; empty when the line has no second piece.
     */
    std::optional<std::string_view> valueInLineWith(std::string_view key) const;

    /**
     * The value of the first line behind the section's that begins with the key and "=": its second piece between
     * "=", ";" and "'". The section's line is the first that contains its text anywhere, and its lines run to the end
     * of the file, other sections included. Nothing when section or key are missing.
     *
     * @param key not empty; holds none of these delimiters
     */
    std::optional<std::string_view> value(std::string_view section, std::string_view key);

    /** A line, or the piece of one that counts as such; with its line feed, if it has one. */
    struct Line {
        std::string_view text; ///< up to the first zero byte
        bool endsWithLineFeed; ///< or it is cut, or the text's last
        std::size_t next;      ///< where the next one starts
    };
    /** @param position where a line starts */
    Line lineAt(std::size_t position) const;
    std::size_t size() const { return text_.size(); }
    const std::string& text() const { return text_; }

  private:
    /** A line of the form "key=...". */
    struct Entry {
        std::uint32_t position;
        std::uint32_t keyLength;
    };

    struct Section {
        std::string text;
        std::optional<std::size_t> end; ///< where the line behind the section's starts; nothing without such a line
    };

    std::string_view keyOf(const Entry& entry) const { return {text_.data() + entry.position, entry.keyLength}; }
    std::vector<Entry> makeIndex() const;
    std::optional<std::size_t> findSection(std::string_view section) const;

    std::string text_;
    std::optional<std::vector<Entry>> index_; // by key, then by position; made for the first look-up by key
    std::optional<Section> lastSection_;      // keys are asked for section by section
};

} // namespace qelm::configuration
