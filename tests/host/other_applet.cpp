// An applet that is not ours: three parameters, two of which have names that our applet knows under other numbers or
// with other limits. It keeps the values that it is given and knows nothing else.

#include "zantor_obvelline_qx4_rk/applet.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <cstdint>
#include <cstring>
#include <iterator>

struct ShadingAccess {};

namespace {

struct Parameter {
    std::int32_t id;
    const char* name;
    const char* information;
    double value;
};

Parameter parameters[] = {
    {100, "FG_WIDTH",
     "Name: FG_WIDTH\nDisplay name: Line length\nCategory: Scanner\nIdentifier: 100\nKind: integer\nAccess: 7\n"
     "Level: 1\nMinimum: 8\nMaximum: 12000\nIncrement: 8\nUnit: px\n",
     4096},
    {4711, "FG_FORMAT",
     "Name: FG_FORMAT\nDisplay name: Colours\nCategory: Scanner\nIdentifier: 4711\nKind: enumeration\nAccess: 7\n"
     "Level: 1\nEntry: FG_COL24 = 2 (Color 24 bit)\nEntry: FG_COL48 = 7 (Color 48 bit)\n",
     7},
    {4712, "SCAN_GAIN",
     "Name: SCAN_GAIN\nDisplay name: Gain\nCategory: Scanner / Analog\nIdentifier: 4712\nKind: floating point\n"
     "Access: 1\nLevel: 1\nMinimum: 0.5\nMaximum: 4\nIncrement: 0.5\nDescription: How bright it gets.\n",
     1.5},
};

Parameter* find(std::int32_t id) {
    for (Parameter& parameter : parameters) {
        if (parameter.id == id) {
            return &parameter;
        }
    }
    return nullptr;
}

const Parameter* at(std::int32_t index) {
    return index >= 0 && index < static_cast<std::int32_t>(std::size(parameters)) ? &parameters[index] : nullptr;
}

} // namespace

// Loaders find them by these names alone; what tells of nothing here refuses.
void* Std_entry(void*, std::int32_t* errorOut, std::int32_t) {
    *errorOut = 0;
    return parameters;
}
std::int32_t Info(std::int32_t request, std::uint32_t, std::uint32_t, void*, void* out2) {
    constexpr std::int32_t name = 0x1050;
    if (request == name) {
        *static_cast<const char**>(out2) = "OtherApplet";
    }
    return request == name ? 0 : FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Fg_setParameterWithType(BoardStructure*, std::int32_t id, const void* value, std::uint32_t, std::int32_t) {
    Parameter* parameter = find(id);
    std::uint32_t number = 0;
    if (parameter == nullptr || id == 4712) {
        return FG_ERROR_NOT_AVAILABLE;
    }
    std::memcpy(&number, value, sizeof number);
    if (id == 100 && (number < 8 || number > 12000)) {
        return FG_ERROR_OUT_OF_RANGE;
    }
    parameter->value = number;
    return 0;
}
std::int32_t Fg_getParameterWithType(BoardStructure*, std::int32_t id, void* value, std::uint32_t, std::int32_t) {
    const Parameter* parameter = find(id);
    if (parameter == nullptr) {
        return FG_ERROR_UNKNOWN;
    }
    const auto number = static_cast<std::uint32_t>(parameter->value);
    if (id == 4712) {
        std::memcpy(value, &parameter->value, sizeof parameter->value);
    } else {
        std::memcpy(value, &number, sizeof number);
    }
    return 0;
}
std::int32_t Fg_getParameterIdByName(BoardStructure*, const char* name) {
    for (const Parameter& parameter : parameters) {
        if (std::strcmp(parameter.name, name) == 0) {
            return parameter.id;
        }
    }
    return FG_ERROR_UNKNOWN;
}
const char* Fg_getParameterName(BoardStructure*, std::int32_t index) {
    return at(index) == nullptr ? nullptr : at(index)->name;
}
std::int32_t Fg_getParameterId(BoardStructure*, std::int32_t index) {
    return at(index) == nullptr ? FG_ERROR_UNKNOWN : at(index)->id;
}
std::int32_t Fg_getNrOfParameter(BoardStructure*) {
    return static_cast<std::int32_t>(std::size(parameters));
}
const char* Fg_getParameterInfo(BoardStructure*, std::int32_t id) {
    return find(id) == nullptr ? nullptr : find(id)->information;
}
std::int32_t Fg_FreeGrabber(BoardStructure* board) {
    board->applet = nullptr;
    return 0;
}

std::int32_t Fg_saveConfig(BoardStructure*, const char*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Fg_loadConfig(BoardStructure*, const char*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Fg_getParameterInfoXML(BoardStructure*, std::int32_t, char*, std::size_t*) {
    return FG_ERROR_NOT_SUPPORTED;
}
ShadingAccess* Fg_AllocShading(BoardStructure*, std::int32_t, std::int32_t) {
    return nullptr;
}
std::int32_t Fg_FreeShading(BoardStructure*, ShadingAccess*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_SetSubValueLine(BoardStructure*, ShadingAccess*, std::int32_t, std::int32_t, float) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_SetMultValueLine(BoardStructure*, ShadingAccess*, std::int32_t, std::int32_t, float) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_SetFixedPatternNoiseLine(BoardStructure*, ShadingAccess*, std::int32_t, std::int32_t, std::int32_t) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_GetMaxLine(BoardStructure*, ShadingAccess*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_GetAccess(BoardStructure*, ShadingAccess*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_FreeAccess(BoardStructure*, ShadingAccess*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Shad_WriteActLine(BoardStructure*, ShadingAccess*, std::int32_t) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::uint64_t Fg_getEventMask(BoardStructure*, const char*) {
    return 0;
}
const char* Fg_getEventName(BoardStructure*, std::uint64_t) {
    return nullptr;
}
std::int32_t Fg_getLastErrorNumber(BoardStructure*) {
    return 0;
}
std::int32_t Fg_getAppletId(BoardStructure*, void*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int64_t Fg_getStatusEx(BoardStructure*, std::int32_t, std::uint64_t, std::uint32_t, void*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Fg_AcquireEx(BoardStructure*, std::uint32_t, std::int64_t, std::int32_t, void*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int32_t Fg_stopAcquireEx(BoardStructure*, std::uint32_t, void*, std::int32_t) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int64_t Fg_getLastPicNumberEx(BoardStructure*, std::uint32_t, void*) {
    return FG_ERROR_NOT_SUPPORTED;
}
std::int64_t Fg_getLastPicNumberBlockingEx(BoardStructure*, std::int64_t, std::uint32_t, std::int32_t, void*) {
    return FG_ERROR_NOT_SUPPORTED;
}
