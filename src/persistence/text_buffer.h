#pragma once

#include <charconv>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace qelm::persistence {

/** A text that grows at its end. Leaner than std::string: its memory is not cleared, and appends are inlined. */
class TextBuffer {
  public:
    explicit TextBuffer(std::size_t capacity) : text_(new char[capacity]), capacity_(capacity) {}

    std::string_view view() const { return {text_.get(), size_}; }

    void append(std::string_view piece) {
        reserve(piece.size());
        std::memcpy(text_.get() + size_, piece.data(), piece.size());
        size_ += piece.size();
    }

    /** Numbers read back as the same value, in every locale. */
    template <typename Number>
    void appendNumber(Number value) {
        constexpr std::size_t longest = 32;
        reserve(longest);
        char* const end = text_.get() + size_;
        size_ += static_cast<std::size_t>(std::to_chars(end, end + longest, value).ptr - end);
    }

    /** Makes room for that many more characters. */
    void reserve(std::size_t more) {
        if (capacity_ - size_ < more) {
            grow(more);
        }
    }

  private:
    void grow(std::size_t more) {
        const std::size_t capacity = 2 * capacity_ + more;
        std::unique_ptr<char[]> text(new char[capacity]);
        std::memcpy(text.get(), text_.get(), size_);
        text_ = std::move(text);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> text_;
    std::size_t capacity_;
    std::size_t size_ = 0;
};

} // namespace qelm::persistence
