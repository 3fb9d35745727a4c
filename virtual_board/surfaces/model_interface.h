#ifndef VIRTUAL_BOARD_SURFACES_MODEL_INTERFACE_H
#define VIRTUAL_BOARD_SURFACES_MODEL_INTERFACE_H

#include "vendor/nuvrak5.h"
#include "vendor/nuvrod.h"
#include "virtual_board.h"

/**
 * What the model offers the four surfaces: each of the vendor libraries' functions under the name
 * virtualBoard_<function>. Plain C, so that libraries with C++ runtimes of their own can call it.
 */

#ifdef __cplusplus
extern "C" {
#endif

#define VENDOR_FUNCTION(result, name, parameters, arguments) VIRTUAL_BOARD_API result virtualBoard_##name parameters;
#include "surfaces/nuvpix.inc"
#include "surfaces/nuvrak5.inc"
#include "surfaces/nuvrod.inc"
#include "surfaces/qelm_hw.inc"
#undef VENDOR_FUNCTION

#ifdef __cplusplus
}
#endif

#endif
