#pragma once

#include "version.h"

/** What the applet says of itself, through Info, the configuration header and the parameter description. */
namespace qelm::applet::identity {

inline constexpr const char* name = "Zantor_Obvelline_Qx4_RK";
inline constexpr const char* vendor = "Quellmark GmbH";
inline constexpr const char* configurationVersion = "1.2";
inline constexpr const char* version = QELM_VERSION;
inline constexpr const char* build = QELM_VERSION ".20161220.052454";
inline constexpr const char* uid = "7d1e5a90-3b2c-4f81-9e6a-2c4b8d0f1a37";
inline constexpr const char* description =
    "Ostrada Advanced with support of Ravelin technology, vertical TopBottom 4 Tap Sorting, 12Bit image processing, "
    "shading correction, median noise filter, dead pixel interpolation and lookup table for one Camera Link MEDIUM "
    "configuration grayscale area scan camera.";
inline constexpr const char* group = "Ostrada Advanced:Area";
inline constexpr const char* tags =
    "class=standard,family=acquisition,type=single,sensortype=area,color=gray,interface=cl-medium";
inline constexpr const char* designImageFile = "Zantor_Obvelline_Qx4_RK.hap";
inline constexpr int designNumber = 2628;

} // namespace qelm::applet::identity
