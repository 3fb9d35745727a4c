#include "model/design_values.h"

#include "model/codes.h"
#include "model/file_name.h"
#include "model/image_file.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace qelm::virtual_board {
namespace {

// A plane travels as the bytes of its 16-bit values.
constexpr std::int32_t side = CoefficientBuffer::planeLimit;
constexpr ImageFormat coefficientFile{2 * side, side, 8, 1};

bool reaches(const DesignParameter& parameter, std::uint32_t start, std::uint32_t count) {
    return start <= parameter.length && count <= parameter.length - start;
}

} // namespace

DesignValues::DesignValues(const Design& design, Listener listener)
    : design_(design)
    , listener_(std::move(listener))
    , words_(design.wordCount(), 0)
    , numbers_(design.numberCount(), 0)
    , texts_(design.textCount())
    , pulses_(design.wordCount(), 0)
    , coefficients_(design.coefficientBufferCount()) {
    for (const DesignParameter& parameter : design.parameters()) {
        if (parameter.holdsWord() || parameter.kind == Kind::Field) {
            std::fill_n(words_.begin() + static_cast<std::ptrdiff_t>(parameter.slot), parameter.length, parameter.word);
        } else if (parameter.kind == Kind::Float) {
            numbers_[parameter.slot] = parameter.number;
        } else if (parameter.kind == Kind::Text) {
            texts_[parameter.slot] = parameter.text;
        }
    }
    for (const DesignRegister& entry : design.registers()) {
        registers_.push_back(entry.value);
    }
}

std::int32_t DesignValues::setWord(const DesignParameter& parameter, std::uint32_t value) {
    if (!parameter.writable()) {
        return notPermitted;
    }
    if (!parameter.admits(value)) {
        return outOfRange;
    }
    if (parameter.kind == Kind::Command) {
        return value == parameter.maximum ? pulse(parameter) : ok;
    }
    words_[parameter.slot] = value;
    listener_.parameterWritten(parameter);
    return ok;
}

std::int32_t DesignValues::setNumber(const DesignParameter& parameter, double value) {
    if (!parameter.writable()) {
        return notPermitted;
    }
    if (!parameter.admits(value)) {
        return outOfRange;
    }
    numbers_[parameter.slot] = value;
    return ok;
}

std::int32_t DesignValues::setText(const DesignParameter& parameter, const char* value) {
    if (!parameter.writable()) {
        return notPermitted;
    }
    if (std::strlen(value) > parameter.length) {
        return outOfRange;
    }
    texts_[parameter.slot] = value;
    return ok;
}

std::int32_t DesignValues::setElements(const DesignParameter& parameter, std::uint32_t start, std::uint32_t count,
                                       const std::uint32_t* values) {
    if (!parameter.writable()) {
        return notPermitted;
    }
    if (!reaches(parameter, start, count) ||
        !std::all_of(values, values + count, [&](std::uint32_t value) { return parameter.admits(value); })) {
        return outOfRange;
    }
    std::copy_n(values, count, words_.data() + parameter.slot + start);
    return ok;
}

std::int32_t DesignValues::getWord(const DesignParameter& parameter, std::uint32_t& value) const {
    if (!parameter.readable()) {
        return notPermitted;
    }
    value = words_[parameter.slot];
    return ok;
}

std::int32_t DesignValues::getNumber(const DesignParameter& parameter, double& value) const {
    if (!parameter.readable()) {
        return notPermitted;
    }
    value = numbers_[parameter.slot];
    return ok;
}

std::int32_t DesignValues::getText(const DesignParameter& parameter, char* value) const {
    if (!parameter.readable()) {
        return notPermitted;
    }
    const std::string& text = texts_[parameter.slot];
    std::copy_n(text.c_str(), text.size() + 1, value);
    return ok;
}

std::int32_t DesignValues::getElements(const DesignParameter& parameter, std::uint32_t start, std::uint32_t count,
                                       std::uint32_t* values) const {
    if (!parameter.readable()) {
        return notPermitted;
    }
    if (!reaches(parameter, start, count)) {
        return outOfRange;
    }
    std::copy_n(words_.data() + parameter.slot + start, count, values);
    return ok;
}

std::int32_t DesignValues::writeRegister(std::uint32_t address, std::uint64_t value) {
    const DesignRegister* entry = design_.registerAt(address);
    if (entry == nullptr) {
        return unknown;
    }
    if (!entry->writable) {
        return notPermitted;
    }
    if (value > entry->maximum()) {
        return outOfRange;
    }
    registers_[indexOf(*entry)] = value;
    listener_.registerWritten();
    return ok;
}

std::int32_t DesignValues::readRegister(std::uint32_t address, std::uint64_t& value) const {
    const DesignRegister* entry = design_.registerAt(address);
    if (entry == nullptr) {
        return unknown;
    }
    value = registers_[indexOf(*entry)];
    return ok;
}

std::uint32_t* DesignValues::word(const char* name, std::uint32_t index) {
    const DesignParameter* parameter = design_.parameter(std::string_view(name));
    const bool holds = parameter != nullptr && (parameter->holdsWord() || parameter->kind == Kind::Field);
    return holds && index < parameter->length ? &words_[parameter->slot + index] : nullptr;
}

const std::string* DesignValues::text(const char* name) const {
    const DesignParameter* parameter = design_.parameter(std::string_view(name));
    return parameter != nullptr && parameter->kind == Kind::Text ? &texts_[parameter->slot] : nullptr;
}

const std::uint64_t* DesignValues::pulses(const char* name) const {
    const DesignParameter* parameter = design_.parameter(std::string_view(name));
    return parameter != nullptr && parameter->kind == Kind::Command ? &pulses_[parameter->slot] : nullptr;
}

const std::uint64_t* DesignValues::registerValue(const char* name) const {
    const DesignRegister* entry = design_.registerNamed(name);
    return entry == nullptr ? nullptr : &registers_[indexOf(*entry)];
}

bool DesignValues::putRegister(const char* name, std::uint64_t value) {
    const DesignRegister* entry = design_.registerNamed(name);
    if (entry == nullptr) {
        return false;
    }
    registers_[indexOf(*entry)] = value;
    listener_.registerWritten();
    return true;
}

std::int32_t DesignValues::pulse(const DesignParameter& command) {
    const std::int32_t result = command.coefficientFile == nullptr ? ok : loadCoefficients(command);
    if (result == ok) {
        ++pulses_[command.slot];
        listener_.parameterWritten(command);
    }
    return result;
}

std::int32_t DesignValues::loadCoefficients(const DesignParameter& command) {
    std::optional<Image> image = readImageFile(fromSystem(texts_[command.coefficientFile->slot].c_str()));
    if (!image || image->format != coefficientFile) {
        return fileNotFound;
    }
    coefficients_[command.buffer] = std::move(image->pixels);
    return ok;
}

} // namespace qelm::virtual_board
