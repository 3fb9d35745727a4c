#pragma once

#include "maker/nuvrak5.h"
#include "virtual_board.h"

/** The virtual board's runtime, linked instead of bound by name. */
extern "C" {
#define MAKER_FUNCTION(result, name, parameters, arguments) result name parameters;
#include "surfaces/nuvrak5.inc"
#undef MAKER_FUNCTION
}
