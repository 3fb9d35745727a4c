#include "model/board.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

using namespace qelm::virtual_board;

namespace {

constexpr std::int32_t coefficientWidth = 8192;
constexpr std::int32_t coefficientHeight = 8192;
// A plane travels as the bytes of its 16-bit values.
constexpr ImageFormat coefficientFile{2 * coefficientWidth, coefficientHeight, 8, 1};

std::size_t placeOf(const RuntimeParameter& parameter) {
    return static_cast<std::size_t>(&parameter - runtimeParameters);
}

bool reaches(const DesignParameter& parameter, std::uint32_t start, std::uint32_t count) {
    return start <= parameter.length && count <= parameter.length - start;
}

} // namespace

const RuntimeParameter* qelm::virtual_board::runtimeParameter(std::int32_t id) {
    const auto* row =
        std::lower_bound(std::begin(runtimeParameters), std::end(runtimeParameters), id,
                         [](const RuntimeParameter& parameter, std::int32_t wanted) { return parameter.id < wanted; });
    return row != std::end(runtimeParameters) && row->id == id ? row : nullptr;
}

VirtualBoard::VirtualBoard(std::shared_ptr<const Design> design) {
    for (const RuntimeParameter& parameter : runtimeParameters) {
        runtimeValues_[placeOf(parameter)] = parameter.powerOn;
    }
    powerOn(std::move(design));
}

void VirtualBoard::powerOn(std::shared_ptr<const Design> design) {
    words_.assign(design->wordCount(), 0);
    numbers_.assign(design->numberCount(), 0);
    texts_.assign(design->textCount(), {});
    pulses_.assign(design->wordCount(), 0);
    for (const DesignParameter& parameter : design->parameters()) {
        if (parameter.holdsWord() || parameter.kind == Kind::Field) {
            std::fill_n(words_.begin() + static_cast<std::ptrdiff_t>(parameter.slot), parameter.length, parameter.word);
        } else if (parameter.kind == Kind::Float) {
            numbers_[parameter.slot] = parameter.number;
        } else if (parameter.kind == Kind::Text) {
            texts_[parameter.slot] = parameter.text;
        }
    }
    registers_.clear();
    for (const DesignRegister& entry : design->registers()) {
        registers_.push_back(entry.value);
    }
    coefficients_.clear();
    coefficients_.resize(design->coefficientBufferCount());
    design_ = std::move(design);
    acquisition_.reset();
    trigger_.reset();
    events_.emplace(*design_);
    designWords_.emplace(*design_, words_);
    trigger_.emplace(*designWords_, *events_);
    simulator_ = {registerNamed("AAGenEnable"),    registerNamed("AAGenStart"),  registerNamed("AAGenWidth"),
                  registerNamed("AAGenLineWidth"), registerNamed("AAGenHeight"), registerNamed("AAGenActive"),
                  registerNamed("AAGenPassive"),   registerNamed("AAGenMask"),   registerNamed("AAGenRoll")};
    acquisition_.emplace(*designWords_, simulator_, *events_, *trigger_, coefficients_);
    acquisition_->connect(camera_);
}

void VirtualBoard::close() {
    const std::lock_guard guard(mutex_);
    acquisition_.reset();
    trigger_.reset();
    design_.reset();
    coefficients_.clear();
    camera_.reset();
}

std::int32_t VirtualBoard::load(const std::shared_ptr<const Design>& design) {
    return whileOpen([&] {
        if (design_ != design) {
            powerOn(design);
        }
        return ok;
    });
}

std::shared_ptr<const Design> VirtualBoard::design() {
    const std::lock_guard guard(mutex_);
    return design_;
}

std::int32_t VirtualBoard::setWord(const Design& design, const DesignParameter& parameter, std::uint32_t value) {
    return whileHolding(design, [&]() -> std::int32_t {
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
        written(parameter);
        return ok;
    });
}

std::int32_t VirtualBoard::setNumber(const Design& design, const DesignParameter& parameter, double value) {
    return whileHolding(design, [&] {
        if (!parameter.writable()) {
            return notPermitted;
        }
        if (!parameter.admits(value)) {
            return outOfRange;
        }
        numbers_[parameter.slot] = value;
        return ok;
    });
}

std::int32_t VirtualBoard::setText(const Design& design, const DesignParameter& parameter, const char* value) {
    return whileHolding(design, [&] {
        if (!parameter.writable()) {
            return notPermitted;
        }
        if (std::strlen(value) > parameter.length) {
            return outOfRange;
        }
        texts_[parameter.slot] = value;
        return ok;
    });
}

std::int32_t VirtualBoard::setElements(const Design& design, const DesignParameter& parameter, std::uint32_t start,
                                       std::uint32_t count, const std::uint32_t* values) {
    return whileHolding(design, [&] {
        if (!parameter.writable()) {
            return notPermitted;
        }
        if (!reaches(parameter, start, count) ||
            !std::all_of(values, values + count, [&](std::uint32_t value) { return parameter.admits(value); })) {
            return outOfRange;
        }
        std::copy_n(values, count, words_.data() + parameter.slot + start);
        return ok;
    });
}

std::int32_t VirtualBoard::getWord(const Design& design, const DesignParameter& parameter, std::uint32_t& value) {
    return whileHolding(design, [&] {
        if (!parameter.readable()) {
            return notPermitted;
        }
        value = words_[parameter.slot];
        return ok;
    });
}

std::int32_t VirtualBoard::getNumber(const Design& design, const DesignParameter& parameter, double& value) {
    return whileHolding(design, [&] {
        if (!parameter.readable()) {
            return notPermitted;
        }
        value = numbers_[parameter.slot];
        return ok;
    });
}

std::int32_t VirtualBoard::getText(const Design& design, const DesignParameter& parameter, char* value) {
    return whileHolding(design, [&] {
        if (!parameter.readable()) {
            return notPermitted;
        }
        const std::string& text = texts_[parameter.slot];
        std::copy_n(text.c_str(), text.size() + 1, value);
        return ok;
    });
}

std::int32_t VirtualBoard::getElements(const Design& design, const DesignParameter& parameter, std::uint32_t start,
                                       std::uint32_t count, std::uint32_t* values) {
    return whileHolding(design, [&] {
        if (!parameter.readable()) {
            return notPermitted;
        }
        if (!reaches(parameter, start, count)) {
            return outOfRange;
        }
        std::copy_n(words_.data() + parameter.slot + start, count, values);
        return ok;
    });
}

std::int32_t VirtualBoard::setRuntime(const RuntimeParameter& parameter, std::uint32_t value) {
    return whileOpen([&] {
        if (!parameter.writable) {
            return notPermitted;
        }
        if (value < parameter.minimum || value > parameter.maximum) {
            return outOfRange;
        }
        runtimeValues_[placeOf(parameter)] = value;
        return ok;
    });
}

std::int32_t VirtualBoard::getRuntime(const RuntimeParameter& parameter, std::uint32_t& value) {
    return whileOpen([&] {
        value = runtimeValues_[placeOf(parameter)];
        return ok;
    });
}

void VirtualBoard::setStatus(std::int32_t id, std::uint32_t value) {
    runtimeValues_[placeOf(*runtimeParameter(id))] = value;
}

std::int32_t VirtualBoard::writeRegister(std::uint32_t address, std::uint64_t value) {
    return whileOpen([&] {
        const DesignRegister* entry = design_->registerAt(address);
        if (entry == nullptr) {
            return unknown;
        }
        if (!entry->writable) {
            return notPermitted;
        }
        if (value > entry->maximum()) {
            return outOfRange;
        }
        *registerValue(entry) = value;
        acquisition_->registerWritten();
        return ok;
    });
}

std::int32_t VirtualBoard::readRegister(std::uint32_t address, std::uint64_t& value) {
    return whileOpen([&] {
        const std::uint64_t* place = registerValue(design_->registerAt(address));
        if (place == nullptr) {
            return unknown;
        }
        value = *place;
        return ok;
    });
}

std::int32_t VirtualBoard::peek(const char* name, std::uint32_t index, std::uint32_t& value) {
    return whileOpen([&] {
        const std::uint32_t* place = wordNamed(name, index);
        if (place == nullptr) {
            return unknown;
        }
        value = *place;
        return ok;
    });
}

std::int32_t VirtualBoard::poke(const char* name, std::uint32_t index, std::uint32_t value) {
    return whileOpen([&] {
        std::uint32_t* place = wordNamed(name, index);
        if (place == nullptr) {
            return unknown;
        }
        *place = value;
        return ok;
    });
}

const char* VirtualBoard::peekText(const char* name) {
    const std::lock_guard guard(mutex_);
    const DesignParameter* parameter = design_ ? design_->parameter(std::string_view(name)) : nullptr;
    return parameter != nullptr && parameter->kind == Kind::Text ? texts_[parameter->slot].c_str() : nullptr;
}

std::int32_t VirtualBoard::peekRegister(const char* name, std::uint64_t& value) {
    return whileOpen([&] {
        const std::uint64_t* place = registerValue(design_->registerNamed(name));
        if (place == nullptr) {
            return unknown;
        }
        value = *place;
        return ok;
    });
}

std::int32_t VirtualBoard::pokeRegister(const char* name, std::uint64_t value) {
    return whileOpen([&] {
        std::uint64_t* place = registerValue(design_->registerNamed(name));
        if (place == nullptr) {
            return unknown;
        }
        *place = value;
        acquisition_->registerWritten();
        return ok;
    });
}

std::int32_t VirtualBoard::pokeRuntime(const RuntimeParameter& parameter, std::uint32_t value) {
    return whileOpen([&] {
        runtimeValues_[placeOf(parameter)] = value;
        return ok;
    });
}

std::int32_t VirtualBoard::pulseCount(const char* name, std::uint64_t& pulses) {
    return whileOpen([&] {
        const DesignParameter* parameter = design_->parameter(std::string_view(name));
        if (parameter == nullptr || parameter->kind != Kind::Command) {
            return unknown;
        }
        pulses = pulses_[parameter->slot];
        return ok;
    });
}

std::int32_t VirtualBoard::coefficients(std::uint32_t buffer, const std::uint16_t*& pixels, std::int32_t& width,
                                        std::int32_t& height) {
    return whileOpen([&] {
        if (buffer >= coefficients_.size() || !coefficients_[buffer]) {
            return unknown;
        }
        pixels = static_cast<const std::uint16_t*>(coefficients_[buffer].get());
        width = coefficientWidth;
        height = coefficientHeight;
        return ok;
    });
}

std::uint32_t* VirtualBoard::wordNamed(const char* name, std::uint32_t index) {
    const DesignParameter* parameter = design_->parameter(std::string_view(name));
    const bool holds = parameter != nullptr && (parameter->holdsWord() || parameter->kind == Kind::Field);
    return holds && index < parameter->length ? &words_[parameter->slot + index] : nullptr;
}

const std::uint64_t* VirtualBoard::registerNamed(const char* name) {
    return registerValue(design_->registerNamed(name));
}

void VirtualBoard::written(const DesignParameter& parameter) {
    trigger_->written(parameter);
    acquisition_->written(parameter);
    seeSignals();
}

std::uint64_t* VirtualBoard::registerValue(const DesignRegister* entry) {
    return entry == nullptr ? nullptr : &registers_[static_cast<std::size_t>(entry - design_->registers().data())];
}

std::int32_t VirtualBoard::pulse(const DesignParameter& command) {
    const std::int32_t result = command.coefficientFile == nullptr ? ok : loadCoefficients(command);
    if (result == ok) {
        ++pulses_[command.slot];
        written(command);
    }
    return result;
}

std::int32_t VirtualBoard::loadCoefficients(const DesignParameter& command) {
    std::optional<Image> image = readImageFile(texts_[command.coefficientFile->slot].c_str());
    if (!image || image->format != coefficientFile) {
        return fileNotFound;
    }
    coefficients_[command.buffer] = std::move(image->pixels);
    return ok;
}
