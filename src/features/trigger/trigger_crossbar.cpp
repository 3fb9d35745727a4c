#include "features/trigger/trigger_crossbar.h"

#include <iterator>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t constantLow = 5;

/** What a selection sets the design's crossbar to. */
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

constexpr TriggerCrossbar::Line cameraControlLines[TriggerCrossbar::cameraControlCount] = {
    {rows::FG_TRIGGERCC_SELECT0, CameraControl_Select0_Select_Select, CameraControl_Select0_Polarity_Invert},
    {rows::FG_TRIGGERCC_SELECT1, CameraControl_Select1_Select_Select, CameraControl_Select1_Polarity_Invert},
    {rows::FG_TRIGGERCC_SELECT2, CameraControl_Select2_Select_Select, CameraControl_Select2_Polarity_Invert},
    {rows::FG_TRIGGERCC_SELECT3, CameraControl_Select3_Select_Select, CameraControl_Select3_Polarity_Invert},
};
constexpr TriggerCrossbar::Line outputLines[TriggerCrossbar::outputCount] = {
    {rows::FG_TRIGGEROUT_SELECT0, TriggerOutput_Select0_Select_Select, TriggerOutput_Select0_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT1, TriggerOutput_Select1_Select_Select, TriggerOutput_Select1_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT2, TriggerOutput_Select2_Select_Select, TriggerOutput_Select2_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT3, TriggerOutput_Select3_Select_Select, TriggerOutput_Select3_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT4, TriggerOutput_Select4_Select_Select, TriggerOutput_Select4_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT5, TriggerOutput_Select5_Select_Select, TriggerOutput_Select5_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT6, TriggerOutput_Select6_Select_Select, TriggerOutput_Select6_Polarity_Invert},
    {rows::FG_TRIGGEROUT_SELECT7, TriggerOutput_Select7_Select_Select, TriggerOutput_Select7_Polarity_Invert},
};

} // namespace

TriggerCrossbar::TriggerCrossbar(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                                 const TriggerSets& sets)
    : design_(design) {
    for (const Line& line : cameraControlLines) {
        cameraControl_.emplace_back(dispatch, line.row, rules(line, sets));
    }
    for (const Line& line : outputLines) {
        outputs_.emplace_back(dispatch, line.row, rules(line, sets));
    }
}

TriggerCrossbar::Selection::Rules TriggerCrossbar::rules(const Line& line, const TriggerSets& sets) {
    return {.permit = sets.current(), .apply = [this, &line](std::uint32_t value, auto) { write(line, value); }};
}

void TriggerCrossbar::off() {
    for (const Line& line : cameraControlLines) {
        design_.write(line.select, constantLow);
    }
    for (const Line& line : outputLines) {
        design_.write(line.select, constantLow);
    }
}

void TriggerCrossbar::on() {
    for (std::size_t line = 0; line < cameraControlCount; ++line) {
        write(cameraControlLines[line], cameraControl_[line].value());
    }
    for (std::size_t line = 0; line < outputCount; ++line) {
        write(outputLines[line], outputs_[line].value());
    }
}

void TriggerCrossbar::write(const Line& line, std::uint32_t value) {
    require(value < std::size(routes), FG_ERROR_OUT_OF_RANGE); // a configuration may have brought in anything
    design_.write(line.select, routes[value].select);
    design_.write(line.polarity, routes[value].invert);
}

} // namespace qelm::features
