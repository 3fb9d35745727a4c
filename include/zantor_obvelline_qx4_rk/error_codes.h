#ifndef ZANTOR_OBVELLINE_QX4_RK_ERROR_CODES_H
#define ZANTOR_OBVELLINE_QX4_RK_ERROR_CODES_H

/** Error codes of the applet; error_codes.inc holds a sentence for each. Success is 0. */
#ifdef __cplusplus
#include <cstdint>
// Of the type that the functions return and the applet throws, which an enumerator would not be.
#define FG_ERROR(name, code, sentence) constexpr std::int32_t name = code;
#include "error_codes.inc"
#else
enum FgError {
#define FG_ERROR(name, code, sentence) name = (code),
#include "error_codes.inc"
    FG_OK = 0
};
#endif

#endif
