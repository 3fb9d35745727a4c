#pragma once

#include "model/design.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace qelm::virtual_board {

/** The words in which a board keeps the integers of its design, by name. */
class DesignWords {
  public:
    /** @param words  the board's, one per slot of the design; they stay in place as long as this lives */
    DesignWords(const Design& design, std::vector<std::uint32_t>& words) : design_(design), words_(words) {}
    DesignWords(const DesignWords&) = delete;
    DesignWords& operator=(const DesignWords&) = delete;

    const Design& design() const { return design_; }
    std::size_t count() const { return words_.size(); }

    /** The parameter of this name when it is kept in words, else null. */
    const DesignParameter* parameter(const std::string& name) const {
        const DesignParameter* parameter = design_.parameter(std::string_view(name));
        const bool holds = parameter != nullptr && (parameter->holdsWord() || parameter->kind == Kind::Field);
        return holds ? parameter : nullptr;
    }
    /** Where its value or first element stands; for what the design lacks a zero that nobody else uses. */
    std::uint32_t* at(const std::string& name, std::uint32_t length = 1) {
        const DesignParameter* found = parameter(name);
        if (found != nullptr && found->length >= length) {
            return &words_[found->slot];
        }
        return absent_.emplace_back(length, 0).data();
    }

  private:
    const Design& design_;
    std::vector<std::uint32_t>& words_;
    std::deque<std::vector<std::uint32_t>> absent_;
};

} // namespace qelm::virtual_board
