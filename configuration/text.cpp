#include "configuration/text.h"

#include <algorithm>
#include <utility>

namespace qelm::configuration {
namespace {

/** The first piece of a line that the delimiters split; rows of them count as one, those in front do not count. */
template <typename IsDelimiter>
std::string_view firstPiece(std::string_view line, IsDelimiter isDelimiter) {
    const auto first = std::find_if_not(line.begin(), line.end(), isDelimiter);
    return {first, std::find_if(first, line.end(), isDelimiter)};
}

// Objects instead of functions, so that they are inlined.
constexpr auto splitsKeyLine = [](char c) { return c == '=' || c == ';' || c == '\''; };
constexpr auto splitsHeaderLine = [](char c) { return c == '=' || c == '\''; };

/** Any order will do in which equal keys meet: most of them are told apart by their length. */
int compareKeys(std::string_view left, std::string_view right) {
    return left.size() != right.size() ? (left.size() < right.size() ? -1 : 1) : left.compare(right);
}

void absorbCarriageReturns(std::string& text) {
    auto read = text.find('\r');
    if (read == std::string::npos) {
        return;
    }
    auto write = read;
    for (; read < text.size(); ++read) {
        if (text[read] != '\r' || read + 1 == text.size() || text[read + 1] != '\n') {
            text[write++] = text[read];
        }
    }
    text.resize(write);
}

} // namespace

std::string portSection(std::uint32_t port) {
    std::string section = "[Port A]";
    section[6] = static_cast<char>('A' + port);
    return section;
}

ConfigurationText::ConfigurationText(std::string text) : text_(std::move(text)) {
    absorbCarriageReturns(text_);
}

ConfigurationText::Line ConfigurationText::lineAt(std::size_t position) const {
    const std::string_view piece = std::string_view(text_).substr(position, longestLine);
    const auto lineFeed = piece.find('\n');
    const auto line = lineFeed == piece.npos ? piece : piece.substr(0, lineFeed + 1);
    return {line.substr(0, line.find('\0')), lineFeed != piece.npos, position + line.size()};
}

std::optional<std::string_view> ConfigurationText::valueInLineWith(std::string_view key) const {
    for (std::size_t position = 0; position < text_.size();) {
        const Line line = lineAt(position);
        if (line.text.find(key) != line.text.npos) {
            const std::string_view first = firstPiece(line.text, splitsHeaderLine);
            return firstPiece({first.end(), line.text.end()}, splitsHeaderLine);
        }
        position = line.next;
    }
    return std::nullopt;
}

std::optional<std::size_t> ConfigurationText::findSection(std::string_view section) const {
    for (std::size_t position = 0; position < text_.size();) {
        const Line line = lineAt(position);
        if (line.text.find(section) != line.text.npos) {
            return line.next;
        }
        position = line.next;
    }
    return std::nullopt;
}

std::vector<ConfigurationText::Entry> ConfigurationText::makeIndex() const {
    std::vector<Entry> index;
    for (std::size_t position = 0; position < text_.size();) {
        const Line line = lineAt(position);
        if (const auto equals = line.text.find('='); equals != line.text.npos) {
            index.push_back({static_cast<std::uint32_t>(position), static_cast<std::uint32_t>(equals)});
        }
        position = line.next;
    }
    std::ranges::sort(index, [this](const Entry& left, const Entry& right) {
        const int order = compareKeys(keyOf(left), keyOf(right));
        return order != 0 ? order < 0 : left.position < right.position;
    });
    return index;
}

std::optional<std::string_view> ConfigurationText::value(std::string_view section, std::string_view key) {
    if (!lastSection_ || lastSection_->text != section) {
        lastSection_ = Section{std::string(section), findSection(section)};
    }
    if (!lastSection_->end) {
        return std::nullopt;
    }
    if (!index_) {
        index_ = makeIndex();
    }
    const auto entry = std::ranges::partition_point(*index_, [&](const Entry& candidate) {
        const int order = compareKeys(keyOf(candidate), key);
        return order != 0 ? order < 0 : candidate.position < *lastSection_->end;
    });
    if (entry == index_->end() || keyOf(*entry) != key) {
        return std::nullopt;
    }
    // The key is the first piece.
    const std::string_view piece = firstPiece(lineAt(entry->position).text.substr(key.size()), splitsKeyLine);
    return piece.starts_with('\r') || piece.starts_with('\n') ? std::string_view() : piece;
}

} // namespace qelm::configuration
