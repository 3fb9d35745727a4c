#pragma once

#include "vendor/nuvrak5.h"
#include "vendor/nuvrod.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qelm::virtual_board {

/** Kinds of design parameters as the design parameter tree numbers them. The last five carry no value. */
enum class Kind : std::int32_t {
    Group = DESIGN_NODE_GROUP,
    Command = 1, /**< issues one pulse when its maximum is written; always reads 0 */
    Integer = DESIGN_NODE_INTEGER,
    Field = 3, /**< a row of integers */
    Float = DESIGN_NODE_FLOAT,
    Link = 5,
    Pin = 6,
    Enumeration = DESIGN_NODE_ENUMERATION,
    Text = DESIGN_NODE_TEXT,
    Stream = 9,
    Memory = 11,
    Clock = 12
};

/** One design parameter: what the description says about it, and where a board keeps its value. */
struct DesignParameter {
    std::string name; /**< in full */
    std::int32_t id = 0;
    Kind kind = Kind::Integer;
    DesignParameterDescription description{};
    std::string unit;
    std::uint32_t minimum = 0, maximum = 0, increment = 1; /**< of integers, commands and field elements */
    std::uint32_t length = 1;                              /**< elements of a field, characters of a text */
    std::uint32_t word = 0;                                /**< power-on value; of a field, of every element */
    double number = 0;
    std::string text;
    const DesignParameter* coefficientFile = nullptr; /**< set for commands that load the coefficients it names */
    std::size_t buffer = 0;                           /**< coefficient buffer of such a command */
    std::size_t slot = 0;                             /**< first place among a board's words, numbers or texts */

    bool holdsWord() const { return kind == Kind::Integer || kind == Kind::Enumeration || kind == Kind::Command; }
    bool readable() const { return (description.access & 1) != 0; }
    bool writable() const { return (description.access & 2) != 0; }
    /** Whether the limits, and for enumerations the entries, admit the value. */
    bool admits(std::uint32_t value) const;
    bool admits(double value) const { return value >= description.minimum && value <= description.maximum; }
};

struct DesignRegister {
    std::string name;
    std::uint32_t address = 0;
    std::uint32_t width = 0; /**< bits */
    bool writable = false;
    std::uint64_t value = 0; /**< at power-on */

    std::uint64_t maximum() const { return ~std::uint64_t{0} >> (64 - width); }
};

/**
 * An FPGA design as its description tells it. Immutable once parsed, so that boards and images share it without locks;
 * every pointer into it lives as long as it does.
 */
class Design {
  public:
    /** Longest description that is looked at. */
    static constexpr std::size_t maximumTextLength = std::size_t{1} << 20;

    /** @return null for a text that is not a sound description, whatever its bytes */
    static std::shared_ptr<const Design> parse(std::string_view text);
    /** The design this virtual board was built with; its text is part of the library. */
    static std::shared_ptr<const Design> builtIn();
    static std::string_view builtInText();

    const DesignParameter* parameter(std::int32_t id) const {
        const auto place = static_cast<std::size_t>(static_cast<std::int64_t>(id) - firstId_);
        return place < parametersById_.size() ? parametersById_[place] : nullptr;
    }
    const DesignParameter* parameter(std::string_view name) const;
    const std::deque<DesignParameter>& parameters() const { return parameters_; }
    const DesignNode* tree() const { return &nodes_.front(); }

    const std::vector<DesignRegister>& registers() const { return registers_; }
    const DesignRegister* registerAt(std::uint32_t address) const;
    const DesignRegister* registerNamed(std::string_view name) const;
    /** @return null past the end */
    const DesignEvent* event(std::size_t index) const { return index < events_.size() ? &events_[index] : nullptr; }

    /** How many values of each sort a board has to keep. */
    std::size_t wordCount() const { return wordCount_; }
    std::size_t numberCount() const { return numberCount_; }
    std::size_t textCount() const { return textCount_; }
    std::size_t coefficientBufferCount() const { return coefficientBufferCount_; }

  private:
    friend class DesignReader;

    std::string name_;
    std::deque<DesignParameter> parameters_;
    std::vector<const DesignParameter*> parametersById_; // from firstId_ on
    std::int64_t firstId_ = 0;
    std::unordered_map<std::string_view, const DesignParameter*> parametersByName_;
    std::deque<DesignNode> nodes_; // the root first
    std::deque<std::vector<const DesignNode*>> children_;
    std::deque<std::string> strings_;
    std::unordered_map<std::string, std::vector<DesignEnumEntry>> enumerations_;
    std::vector<DesignRegister> registers_;
    std::unordered_map<std::uint32_t, const DesignRegister*> registersByAddress_;
    std::unordered_map<std::string_view, const DesignRegister*> registersByName_;
    std::vector<DesignEvent> events_;
    std::size_t wordCount_ = 0, numberCount_ = 0, textCount_ = 0, coefficientBufferCount_ = 0;
};

} // namespace qelm::virtual_board
