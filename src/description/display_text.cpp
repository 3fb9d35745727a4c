#include "description/display_text.h"

#include <algorithm>
#include <cstdint>

namespace qelm::description {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD"; // U+FFFD

constexpr bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/** The bytes of the well-formed UTF-8 character at the start of the text, and its number; 0 bytes when there is none.
 */
struct Character {
    std::size_t length;
    std::uint32_t number;
};

Character firstCharacter(std::string_view text) {
    struct Form {
        std::uint32_t mask, mark; // of the first byte
        std::size_t length;
        std::uint32_t least; // below it the form is overlong
    };
    constexpr Form forms[] = {
        {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};
    const std::uint32_t first = static_cast<unsigned char>(text.front());
    const auto* form = std::ranges::find_if(forms, [=](const Form& f) { return (first & f.mask) == f.mark; });
    if (form == std::end(forms) || form->length > text.size()) {
        return {0, 0};
    }
    std::uint32_t number = first & ~form->mask;
    for (const char byte : text.substr(1, form->length - 1)) {
        if (!isContinuation(byte)) {
            return {0, 0};
        }
        number = number << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    const bool isSurrogate = number >= 0xD800 && number <= 0xDFFF;
    return number < form->least || number > 0x10FFFF || isSurrogate ? Character{0, 0} : Character{form->length, number};
}

} // namespace

std::string displayText(std::string_view bytes) {
    // Nearly all texts, and with a board's some thousand characters a fair part of its start-up.
    if (std::ranges::all_of(bytes, [](char byte) { return byte >= ' ' && byte < '\x7F'; })) {
        return std::string(bytes);
    }
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Character character = firstCharacter(bytes);
        const auto byte = static_cast<unsigned char>(bytes.front());
        if (character.length == 0) {
            text += static_cast<char>(0xC0U | byte >> 6U);
            text += static_cast<char>(0x80U | (byte & 0x3FU));
        } else if (byte == '\t' || byte == '\n' || byte == '\r') {
            text += ' ';
        } else if (character.number < 0x20 || character.number == 0xFFFE || character.number == 0xFFFF) {
            text += replacement;
        } else {
            text += bytes.substr(0, character.length);
        }
        bytes.remove_prefix(std::max<std::size_t>(character.length, 1));
    }
    return text;
}

std::string_view cutText(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    while (limit > 0 && isContinuation(text[limit])) {
        --limit;
    }
    return text.substr(0, limit);
}

} // namespace qelm::description
