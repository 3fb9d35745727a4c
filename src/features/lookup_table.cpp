#include "features/lookup_table.h"

#include "features/lut_data_file.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t bits = 12; // in and out
constexpr std::int32_t maxOut = (1 << bits) - 1;

/** Where each entry stands between 0 and 1: dividing takes longer than all the rest. */
constexpr auto positions = [] {
    std::array<double, maxOut + 1> values{};
    for (std::int32_t i = 0; i <= maxOut; ++i) {
        values[static_cast<std::size_t>(i)] = static_cast<double>(i) / maxOut;
    }
    return values;
}();

constexpr std::size_t largestFile = std::size_t{64} << 20; // a thousand times what a table needs

} // namespace

void computeProcessorTable(const ProcessorSettings& settings, std::span<std::uint32_t, 4096> table) {
    const double exponent = 1.0 / settings.gamma; // infinite for a gamma of 0, which is a valid if odd curve
    // An entry that does not fit in 32 bits, or is no number, is the smallest integer: clipped to 0, inverted or not.
    constexpr double tooLarge = 2147483648.0;
    const std::uint32_t inversion = settings.invert ? maxOut : 0; // of clipped entries: all their bits
    const double unfit = inversion;
    constexpr std::size_t block = 256; // step by step, so that nothing stands between the calls of pow
    std::array<double, block> inputs;
    std::array<double, block> raised;
    const auto& powers = exponent == 1.0 ? inputs : raised;
    for (std::size_t start = 0; start < table.size(); start += block) {
        for (std::size_t i = 0; i < block; ++i) {
            inputs[i] = (positions[start + i] + settings.offset) * settings.gain;
        }
        if (exponent != 1.0) {
            for (std::size_t i = 0; i < block; ++i) {
                raised[i] = std::pow(inputs[i] < 0.0 ? 1.0 : inputs[i], exponent); // what is negative is not used
            }
        }
        // Clipped before the truncation and the inversion, which comes to the same and lets the compiler vectorise.
        for (std::size_t i = 0; i < block; ++i) {
            const double scaled = powers[i] * maxOut + 0.5;
            const double entry = inputs[i] < 0.0 ? 0.0 : scaled;
            const double clipped = entry < maxOut ? entry : maxOut;
            const double fit = std::abs(entry) < tooLarge ? clipped : unfit; // what is below 0 is negative infinity
            table[start + i] = static_cast<std::uint32_t>(static_cast<std::int32_t>(fit)) ^ inversion;
        }
    }
}

LookupTable::Entry::Entry(parameters::Dispatch& dispatch, LookupTable& table)
    : Parameter(dispatch, rows::FG_LUT_VALUE.id, rows::FG_LUT_VALUE.type)
    , owner_(table) {}

parameters::Value LookupTable::Entry::get(const parameters::Value& request) {
    auto entry = std::get<LutEntry>(request);
    require(entry.index < entryCount, FG_ERROR_UNKNOWN);
    entry.value = owner_.table_[entry.index];
    return entry;
}

void LookupTable::Entry::set(const parameters::Value& value) {
    const auto entry = std::get<LutEntry>(value);
    require(entry.index < entryCount && entry.value <= maxOut, FG_ERROR_OUT_OF_RANGE);
    const std::uint32_t previous = std::exchange(owner_.table_[entry.index], entry.value);
    try {
        owner_.design_.write(LookupTable_LookupTable_LUTcontent, {.value = entry.value, .index = entry.index});
    } catch (...) {
        owner_.table_[entry.index] = previous;
        throw;
    }
}

void LookupTable::Entry::store(const parameters::Value& value) {
    const auto entry = std::get<LutEntry>(value);
    if (entry.index < entryCount) {
        owner_.table_[entry.index] = entry.value;
    }
}

LookupTable::LookupTable(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                         description::Information& information)
    : design_(design)
    , information_(information)
    , type_(dispatch, rows::FG_LUT_TYPE,
            {.apply = parameters::calls(this, &LookupTable::fill),
             .settled = parameters::calls(this, &LookupTable::updateAccess)})
    , customFile_(dispatch, rows::FG_LUT_CUSTOM_FILE, {.apply = parameters::calls(this, &LookupTable::loadFile)})
    , saveFile_(dispatch, rows::FG_LUT_SAVE_FILE, {.apply = parameters::calls(this, &LookupTable::saveFile)})
    , offset_(dispatch, rows::FG_PROCESSING_OFFSET, {.apply = parameters::calls(this, &LookupTable::process)})
    , gain_(dispatch, rows::FG_PROCESSING_GAIN, {.apply = parameters::calls(this, &LookupTable::process)})
    , gamma_(dispatch, rows::FG_PROCESSING_GAMMA, {.apply = parameters::calls(this, &LookupTable::process)})
    , invert_(dispatch, rows::FG_PROCESSING_INVERT, {.apply = parameters::calls(this, &LookupTable::process)})
    , entry_(dispatch, *this)
    , implementation_(dispatch, rows::FG_LUT_IMPLEMENTATION_TYPE,
                      [] { return std::int32_t{LUT_IMPLEMENTATION_FULL_LUT}; })
    , inBits_(dispatch, rows::FG_LUT_IN_BITS, [] { return bits; })
    , outBits_(dispatch, rows::FG_LUT_OUT_BITS, [] { return bits; }) {}

// Either of the two does nothing in the other's mode.
void LookupTable::fill() {
    process();
    loadFile();
}

void LookupTable::process() {
    if (type_.value() != LUT_TYPE_PROCESSING) {
        return;
    }
    computeProcessorTable(
        {.offset = offset_.value(), .gain = gain_.value(), .gamma = gamma_.value(), .invert = invert_.value() == FG_ON},
        table_);
    writeTable();
}

void LookupTable::loadFile() {
    if (type_.value() != LUT_TYPE_CUSTOM || customFile_.value().empty()) {
        return;
    }
    std::string text;
    const platform::ReadOutcome outcome = platform::readWholeFile(customFile_.value(), largestFile, text);
    require(outcome != platform::ReadOutcome::cannotOpen, FG_ERROR_FILE_NOT_FOUND);
    require(outcome == platform::ReadOutcome::done, FG_ERROR_FILE_ACCESS);
    const LutData file = LutDataFile(std::move(text)).readGray();
    const std::size_t count = std::min<std::size_t>(file.nrOfElements, entryCount);
    const auto given = std::min(count, file.data.size());
    const auto missing = std::copy_n(file.data.begin(), given, table_.begin());
    std::fill(missing, table_.begin() + static_cast<std::ptrdiff_t>(count), 0U);
    writeTable();
}

void LookupTable::saveFile() {
    if (saveFile_.value().empty()) {
        return;
    }
    LutDataFile file;
    file.writeGray({.data = {table_.begin(), table_.end()}});
    require(platform::writeWholeFile(saveFile_.value(), file.text()), FG_ERROR_FILE_ACCESS);
}

void LookupTable::writeTable() {
    design_.write(
        LookupTable_LookupTable_LUTcontent,
        FieldAccess{.elementType = RUNTIME_VALUE_UINT32, .startIndex = 0, .count = entryCount, .data = table_.data()});
}

/** The inputs of the mode in force can be written, those of the other one only read. */
void LookupTable::updateAccess() {
    const bool custom = type_.value() == LUT_TYPE_CUSTOM;
    information_.setAccess(FG_LUT_CUSTOM_FILE, custom ? description::access::readWrite : description::access::readOnly);
    for (const std::int32_t id :
         {FG_PROCESSING_GAIN, FG_PROCESSING_GAMMA, FG_PROCESSING_OFFSET, FG_PROCESSING_INVERT}) {
        information_.setAccess(id, custom ? description::access::readOnly : description::access::readWrite);
    }
}

} // namespace qelm::features
