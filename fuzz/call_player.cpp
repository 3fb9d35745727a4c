#include "call_player.h"

#include "qelm/host/descriptions.h"

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace qelm::fuzz {
namespace {

using host::Parameter;
using host::ParameterKind;

constexpr std::int32_t injected = -4711;
constexpr std::size_t room = 65536; // for any text

/** Settings that the design holds as they are. */
struct Mirrored {
    std::int32_t id;
    const char* design;
};
#define PROCESS "Device1_Process0_"
#define UNIT "Device1_Process1_Trigger_TriggerCam0_"
#define GENERATOR(n)                                                                                                   \
    {FG_TRIGGER_PULSEFORMGEN##n##_DOWNSCALE, UNIT "PulseFormGenerators_PulseFormGenerator" #n "_Downscale_Downscale"}, \
    {                                                                                                                  \
        FG_TRIGGER_PULSEFORMGEN##n##_DOWNSCALE_PHASE,                                                                  \
            UNIT "PulseFormGenerators_PulseFormGenerator" #n "_Downscale_SelectedPulse"                                \
    }
constexpr Mirrored mirrored[] = {
    {FG_USEDVAL, PROCESS "Camera_UseDval"},
    {FG_WIDTH, PROCESS "Buffer_0_ROI_X_Length"},
    {FG_HEIGHT, PROCESS "Buffer_0_ROI_Y_Length"},
    {FG_XOFFSET, PROCESS "Buffer_0_ROI_X_Offset"},
    {FG_YOFFSET, PROCESS "Buffer_0_ROI_Y_Offset"},
    {FG_CAMERA_HEIGHT, PROCESS "Buffer_0_verticalTS_Heightx2_AppendNumber"},
    {FG_BITALIGNMENT, PROCESS "OutputFormat_FG_BITALIGNMENT_Value"},
    {FG_IMG_SELECT_PERIOD, PROCESS "ImageSelector_FG_IMG_SELECT_PERIOD_Divisor"},
    {FG_IMG_SELECT, PROCESS "ImageSelector_FG_IMG_SELECT_PHASE_Number"},
    {FG_NOISEFILTER, PROCESS "NoiseFilter_Select_Value"},
    {FG_SHADING_OFFSET_ENABLE, PROCESS "Shading_EnableOffset_Enable_Value"},
    {FG_SHADING_GAIN_ENABLE, PROCESS "Shading_EnableGain_Enable_Value"},
    {FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE, PROCESS "NoiseFilter_EnableDeadPixelReplacement_Value"},
    {FG_TRIGGERIN_SRC, UNIT "InputSelect_Select_Select"},
    {FG_TRIGGERIN_POLARITY, UNIT "InputSelect_Polarity_Invert"},
    {FG_TRIGGERIN_BYPASS_SRC, UNIT "InputSelect_BypassSelect_Select"},
    {FG_TRIGGERIN_DOWNSCALE, UNIT "Downscale_Downscale_Downscale"},
    {FG_TRIGGERIN_DOWNSCALE_PHASE, UNIT "Downscale_Downscale_SelectedPulse"},
    {FG_TRIGGER_MULTIPLY_PULSES, UNIT "Generators_Sequence_Downscale"},
    {FG_TRIGGERQUEUE_MODE, UNIT "Generators_Queue_QueueEnabled_Select"},
    {FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD, UNIT "Hysteresis_OnLevel_Number"},
    {FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_OFF_THRESHOLD, UNIT "Hysteresis_OffLevel_Number"},
    {FG_TRIGGEROUT_STATS_SOURCE, UNIT "OutputStatistics_Select_Select"},
    {FG_TRIGGER_OUTPUT_EVENT_SELECT, UNIT "OutputEvent_Select_Select"},
    GENERATOR(0),
    GENERATOR(1),
    GENERATOR(2),
    GENERATOR(3),
};
#undef PROCESS
#undef UNIT
#undef GENERATOR

/** What has to be smaller than its partner. */
constexpr std::pair<std::int32_t, std::int32_t> phases[] = {
    {FG_IMG_SELECT, FG_IMG_SELECT_PERIOD},
    {FG_TRIGGERIN_DOWNSCALE_PHASE, FG_TRIGGERIN_DOWNSCALE},
    {FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE_PHASE, FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE},
    {FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE_PHASE, FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE},
    {FG_TRIGGER_PULSEFORMGEN2_DOWNSCALE_PHASE, FG_TRIGGER_PULSEFORMGEN2_DOWNSCALE},
    {FG_TRIGGER_PULSEFORMGEN3_DOWNSCALE_PHASE, FG_TRIGGER_PULSEFORMGEN3_DOWNSCALE},
};

} // namespace

CallPlayer::CallPlayer(const host::Applet& applet, std::filesystem::path folder, Choose choose)
    : applet_(applet)
    , folder_(std::move(folder))
    , choose_(std::move(choose))
    , board_(std::in_place, applet)
    , place_(room) {}

void CallPlayer::play() {
    ++calls_;
    const std::uint32_t choice = choose_(64);
    if (choice < 36) {
        set();
    } else if (choice < 48) {
        get();
    } else if (choice < 56) {
        lookUp();
    } else if (choice < 59) {
        passTime();
    } else if (choice < 61) {
        configuration();
    } else if (choice < 63 || choose_(16) != 0) {
        failACall();
    } else {
        last_ = "free"; // rare, since to open a board takes as long as many calls
        require(board_->free() == 0, "a board can be freed");
        board_.reset();
        unknownInDesign_.clear();
        descriptionsFollow_ = true;
        board_.emplace(applet_);
    }
    // What is broken stays broken for a while: looking after every call would take longer than the calls do.
    constexpr std::uint32_t callsPerCheck = 4;
    if (calls_ % callsPerCheck == 0) {
        check();
    }
}

std::uint32_t CallPlayer::chooseNumber(const Parameter& parameter) {
    if (!parameter.entries.empty() && choose_(8) != 0) {
        const auto entries = static_cast<std::uint32_t>(parameter.entries.size());
        return static_cast<std::uint32_t>(parameter.entries[choose_(entries)].value);
    }
    const auto minimum = static_cast<std::uint32_t>(parameter.minimum);
    const auto maximum = static_cast<std::uint32_t>(parameter.maximum);
    switch (choose_(8)) {
    case 0:
        return minimum;
    case 1:
        return maximum;
    case 2:
        return maximum + 1;
    case 3:
        return minimum - 1;
    case 4:
        return (choose_(256) << 24) + (choose_(256) << 16) + (choose_(256) << 8) + choose_(256);
    case 5:
        return 16 * choose_(256);
    default:
        return choose_(16);
    }
}

double CallPlayer::chooseDouble(const Parameter& parameter) {
    switch (choose_(8)) {
    case 0:
        return parameter.minimum;
    case 1:
        return parameter.maximum;
    case 2:
        return std::bit_cast<double>(static_cast<std::uint64_t>(choose_(256)) << 56 |
                                     static_cast<std::uint64_t>(choose_(256)) << 48);
    case 3:
        return std::numeric_limits<double>::quiet_NaN();
    case 4:
        return -static_cast<double>(choose_(256));
    case 5:
        return 100.0 * choose_(256);
    default:
        return choose_(256) / 4.0;
    }
}

void CallPlayer::set() {
    const std::vector<Parameter>& all = host::fixedParameters();
    const Parameter& parameter = all[choose_(static_cast<std::uint32_t>(all.size()))];
    last_ = "set " + parameter.name;
    std::int32_t code = 0;
    switch (parameter.kind) {
    case ParameterKind::fileName:
    case ParameterKind::text: {
        // Never an existing image: the coefficients would take their time.
        static constexpr const char* names[] = {"", "a.lut", "b.lut", "no such file.tif", "\xB5\xFF.lut"};
        const std::string name = names[choose_(std::size(names))];
        code = board_->set(parameter.id, name.empty() ? name : (folder_ / name).string());
        break;
    }
    case ParameterKind::lutEntry:
        code = board_->set(parameter.id, LutEntry{.value = choose_(5000), .index = choose_(5000)});
        break;
    case ParameterKind::floatingPoint:
        code = board_->set(parameter.id, chooseDouble(parameter));
        break;
    default:
        code = board_->set(parameter.id, chooseNumber(parameter));
    }
    require(code <= 0, "codes are 0 or negative");
    require(applet_->Fg_getLastErrorNumber(*board_) == code, "the last error is what was returned");
    if (code == 0) {
        changed(parameter.id);
    }
}

/** A set was accepted. */
void CallPlayer::changed(std::int32_t id) {
    unknownInDesign_.erase(id);
    const std::uint32_t cameraWidth = number(FG_CAMERA_WIDTH);
    const std::uint32_t cameraHeight = number(FG_CAMERA_HEIGHT);
    if (id == FG_WIDTH || id == FG_XOFFSET) {
        require(number(FG_WIDTH) + number(FG_XOFFSET) <= cameraWidth, "the region lies inside the camera's lines");
        require(number(id) % 16 == 0, "the region is aligned");
    } else if (id == FG_HEIGHT || id == FG_YOFFSET) {
        require(number(FG_HEIGHT) + number(FG_YOFFSET) <= cameraHeight, "the region lies inside the camera's frame");
    }
}

void CallPlayer::get() {
    const std::vector<Parameter>& all = host::fixedParameters();
    const std::uint32_t choice = choose_(static_cast<std::uint32_t>(all.size()) + 4);
    // Beyond the parameters: none, the query for descriptions, the runtime's, a register while they are switched off.
    static constexpr std::int32_t others[] = {99, 24114, 2000600, 1000024};
    const std::int32_t id = choice < all.size() ? all[choice].id : others[choice - all.size()];
    last_ = "get " + std::to_string(id);
    const std::string& name = all[choose_(static_cast<std::uint32_t>(all.size()))].name;
    std::memcpy(place_.data(), name.c_str(), name.size() + 1); // an index, and a question
    const std::int32_t code = applet_->Fg_getParameterWithType(*board_, id, place_.data(), choose_(8) == 0 ? 1 : 0,
                                                               1 + static_cast<std::int32_t>(choose_(6)));
    require(code <= 0 && applet_->Fg_getLastErrorNumber(*board_) == code, "the last error is what was returned");
}

void CallPlayer::lookUp() {
    last_ = "look-up";
    const auto index = static_cast<std::int32_t>(choose_(150)) - 3;
    const char* name = applet_->Fg_getParameterName(*board_, index);
    const std::int32_t id = applet_->Fg_getParameterId(*board_, index);
    require((name == nullptr) == (id < 0), "an index has name and number or neither");
    if (name != nullptr) {
        require(board_->findId(name) == id, "a name leads to its number");
        applet_->Fg_getParameterInfo(*board_, id);
    }
    const std::uint64_t mask = std::uint64_t{1} << choose_(64);
    if (const char* event = applet_->Fg_getEventName(*board_, mask)) {
        require(applet_->Fg_getEventMask(*board_, event) == mask, "an event's name leads to its bit");
    }
    if (choose_(64) == 0) { // it takes as long as some hundred other calls
        std::size_t size = 0;
        require(applet_->Fg_getParameterInfoXML(*board_, 0, nullptr, &size) == 0, "the document can be had");
        std::string text(size, '\0');
        require(applet_->Fg_getParameterInfoXML(*board_, 0, text.data(), &size) == 0 && size == text.size(),
                "the document has the size it was said to have");
    }
}

void CallPlayer::configuration() {
    static constexpr const char* names[] = {"a.kcf", "b.kcf", "no such file.kcf", "wrong type"};
    const std::uint32_t choice = choose_(4);
    const std::string name = (folder_ / names[choice]).string();
    if (choice < 2 && choose_(2) == 0) {
        last_ = "save";
        require(applet_->Fg_saveConfig(*board_, name.c_str()) == 0, "a configuration can be saved");
    } else {
        last_ = "load";
        const bool isThere = choice < 2 && std::filesystem::exists(name);
        require((applet_->Fg_loadConfig(*board_, name.c_str()) == 0) == isThere, "what was saved can be loaded");
        for (const Mirrored& row : mirrored) {
            unknownInDesign_.insert(row.id);
        }
        descriptionsFollow_ = false;
    }
}

void CallPlayer::passTime() {
    last_ = "time";
    control().setInput(board_->virtualBoard(), choose_(8), static_cast<std::int32_t>(choose_(2)));
    control().advance(board_->virtualBoard(), 1000ULL << choose_(16)); // at the highest rate 200 000 pulses
}

/** Lets one of the next calls into the vendor libraries fail, in a set of any parameter. */
void CallPlayer::failACall() {
    control().fail(board_->virtualBoard(), nullptr, nullptr, choose_(32), 1, injected);
    for (const Mirrored& row : mirrored) {
        unknownInDesign_.insert(row.id);
    }
    descriptionsFollow_ = false;
    try {
        set();
    } catch (...) {
        control().clearFaults();
        throw;
    }
    control().clearFaults();
}

std::uint32_t CallPlayer::number(std::int32_t id) const {
    std::uint32_t value = 0;
    require(board_->get(id, value) == 0, "settings can be read");
    return value;
}

void CallPlayer::require(bool condition, const char* what) const {
    if (!condition) {
        throw BrokenInvariant("call " + std::to_string(calls_) + ", " + last_ + ": " + what);
    }
}

void CallPlayer::check() {
    for (const auto& [phase, partner] : phases) {
        require(number(phase) < number(partner), "a phase is smaller than its partner");
    }
    checkDesign();
    if (descriptionsFollow_) {
        checkDescriptions();
    }
}

void CallPlayer::checkDesign() {
    for (const Mirrored& row : mirrored) {
        std::uint32_t value = 0;
        require(unknownInDesign_.contains(row.id) ||
                    (control().getDesignValue(board_->virtualBoard(), row.design, 0, &value) == 0 &&
                     value == number(row.id)),
                row.design);
    }
}

void CallPlayer::checkDescriptions() {
    const auto maximum = [this](std::int32_t id) {
        Parameter parameter;
        host::readInformation(applet_->Fg_getParameterInfo(*board_, id), parameter);
        return static_cast<std::int64_t>(parameter.maximum);
    };
    const auto value = [this](std::int32_t id) { return std::int64_t{number(id)}; };
    require(maximum(FG_WIDTH) == value(FG_CAMERA_WIDTH) - value(FG_XOFFSET), "the maximum of the width");
    require(maximum(FG_XOFFSET) == value(FG_CAMERA_WIDTH) - value(FG_WIDTH), "the maximum of the x offset");
    require(maximum(FG_HEIGHT) == value(FG_CAMERA_HEIGHT) - value(FG_YOFFSET), "the maximum of the height");
    require(maximum(FG_YOFFSET) == value(FG_CAMERA_HEIGHT) - value(FG_HEIGHT), "the maximum of the y offset");
    require(maximum(FG_SENDSOFTWARETRIGGER) == (number(FG_TRIGGERQUEUE_MODE) == FG_ON ? 2040 : 1),
            "the maximum of a burst");
    for (const auto& [phase, downscale] : phases) {
        require(phase == FG_IMG_SELECT || maximum(phase) == value(downscale) - 1, "the maximum of a phase");
    }
}

} // namespace qelm::fuzz
