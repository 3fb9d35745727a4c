#include "features/trigger/trigger_crossbar.h"

#include <iterator>

namespace qelm::features {
namespace {

using parameters::DesignParameter;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t constantLow = 5;

/** What the design's crossbar is told for a selection. */
struct Route {
    std::uint32_t select; ///< 0 to 3 a pulse form generator, 4 the bypassed input, 5 the constant low level
    std::uint32_t invert;
};

// By selection. The camera-control lines' values are the same as the outputs', under names with the prefix CC_.
constexpr Route routes[] = {
    {0, 0},           // PULSEGEN0
    {1, 0},           // PULSEGEN1
    {2, 0},           // PULSEGEN2
    {3, 0},           // PULSEGEN3
    {constantLow, 0}, // GND
    {constantLow, 1}, // VCC: low inverted
    {0, 1},           // NOT_PULSEGEN0
    {1, 1},           // NOT_PULSEGEN1
    {2, 1},           // NOT_PULSEGEN2
    {3, 1},           // NOT_PULSEGEN3
    {4, 0},           // INPUT_BYPASS
    {4, 1},           // NOT_INPUT_BYPASS
};

constexpr std::int32_t outputIds[] = {FG_TRIGGEROUT_SELECT0, FG_TRIGGEROUT_SELECT1, FG_TRIGGEROUT_SELECT2,
                                      FG_TRIGGEROUT_SELECT3, FG_TRIGGEROUT_SELECT4, FG_TRIGGEROUT_SELECT5,
                                      FG_TRIGGEROUT_SELECT6, FG_TRIGGEROUT_SELECT7};

constexpr DesignParameter cameraControlSelect(std::size_t line) {
    return parameters::offset(CameraControl_Select0_Select_Select, line);
}
constexpr DesignParameter cameraControlPolarity(std::size_t line) {
    return parameters::offset(CameraControl_Select0_Polarity_Invert, line);
}
constexpr DesignParameter outputSelect(std::size_t line) {
    return parameters::offset(TriggerOutput_Select0_Select_Select, line);
}
constexpr DesignParameter outputPolarity(std::size_t line) {
    return parameters::offset(TriggerOutput_Select0_Polarity_Invert, line);
}

} // namespace

TriggerCrossbar::TriggerCrossbar(parameters::DesignAccess& design, const TriggerSets& sets)
    : design_(design)
    , cameraControl_{{cameraControlSelection(sets, 0, CC_NOT_PULSEGEN0), cameraControlSelection(sets, 1, CC_VCC),
                      cameraControlSelection(sets, 2, CC_VCC), cameraControlSelection(sets, 3, CC_VCC)}}
    , outputs_{{outputSelection(sets, 0, NOT_PULSEGEN0), outputSelection(sets, 1, NOT_PULSEGEN1),
                outputSelection(sets, 2, VCC), outputSelection(sets, 3, VCC), outputSelection(sets, 4, VCC),
                outputSelection(sets, 5, VCC), outputSelection(sets, 6, VCC), outputSelection(sets, 7, VCC)}} {}

TriggerCrossbar::Selection TriggerCrossbar::cameraControlSelection(const TriggerSets& sets, std::size_t line,
                                                                   std::uint32_t initial) {
    return selection(sets, FG_TRIGGERCC_SELECT0 + static_cast<std::int32_t>(line), initial, cameraControlSelect(line),
                     cameraControlPolarity(line));
}

TriggerCrossbar::Selection TriggerCrossbar::outputSelection(const TriggerSets& sets, std::size_t line,
                                                            std::uint32_t initial) {
    return selection(sets, outputIds[line], initial, outputSelect(line), outputPolarity(line));
}

TriggerCrossbar::Selection TriggerCrossbar::selection(const TriggerSets& sets, std::int32_t id, std::uint32_t initial,
                                                      DesignParameter select, DesignParameter polarity) {
    return Selection(
        id, initial,
        {.check = sets.current([](std::uint32_t value) { require(value < std::size(routes), FG_ERROR_OUT_OF_RANGE); }),
         .apply = [this, select, polarity](std::uint32_t value, auto) { write(select, polarity, value); }});
}

void TriggerCrossbar::enroll(parameters::Dispatch& dispatch) {
    for (Selection& selection : cameraControl_) {
        dispatch.add(selection);
    }
    for (Selection& selection : outputs_) {
        dispatch.add(selection);
    }
}

void TriggerCrossbar::off() {
    for (std::size_t line = 0; line < cameraControlCount; ++line) {
        design_.write(cameraControlSelect(line), constantLow);
    }
    for (std::size_t line = 0; line < outputCount; ++line) {
        design_.write(outputSelect(line), constantLow);
    }
}

void TriggerCrossbar::on() {
    for (std::size_t line = 0; line < cameraControlCount; ++line) {
        write(cameraControlSelect(line), cameraControlPolarity(line), cameraControl_[line].value());
    }
    for (std::size_t line = 0; line < outputCount; ++line) {
        write(outputSelect(line), outputPolarity(line), outputs_[line].value());
    }
}

void TriggerCrossbar::write(DesignParameter select, DesignParameter polarity, std::uint32_t value) {
    require(value < std::size(routes), FG_ERROR_OUT_OF_RANGE); // a configuration may have brought in anything
    design_.write(select, routes[value].select);
    design_.write(polarity, routes[value].invert);
}

} // namespace qelm::features
