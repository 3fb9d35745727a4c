#include "persistence/configuration_text.h"

#include <algorithm>
#include <utility>

namespace qelm::persistence {
namespace {

/** The second piece of a line that the delimiters split; rows of them count as one, those in front do not count. */
template <typename IsDelimiter>
std::string_view secondPiece(std::string_view line, IsDelimiter isDelimiter) {
    const auto first = std::find_if_not(line.begin(), line.end(), isDelimiter);
    const auto firstEnd = std::find_if(first, line.end(), isDelimiter);
    const auto second = std::find_if_not(firstEnd, line.end(), isDelimiter);
    return {second, std::find_if(second, line.end(), isDelimiter)};
}

bool splitsKeyLine(char c) {
    return c == '=' || c == ';' || c == '\'';
}

bool splitsHeaderLine(char c) {
    return c == '=' || c == '\'';
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
            return secondPiece(line.text, splitsHeaderLine);
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
        const int order = keyOf(left).compare(keyOf(right));
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
        const int order = keyOf(candidate).compare(key);
        return order != 0 ? order < 0 : candidate.position < *lastSection_->end;
    });
    if (entry == index_->end() || keyOf(*entry) != key) {
        return std::nullopt;
    }
    const std::string_view piece = secondPiece(lineAt(entry->position).text, splitsKeyLine);
    return piece.starts_with('\r') || piece.starts_with('\n') ? std::string_view() : piece;
}

} // namespace qelm::persistence
