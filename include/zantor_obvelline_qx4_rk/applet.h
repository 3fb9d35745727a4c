#ifndef ZANTOR_OBVELLINE_QX4_RK_APPLET_H
#define ZANTOR_OBVELLINE_QX4_RK_APPLET_H

#include <stddef.h>
#include <stdint.h>

/**
 * What the applet library exports. A host loads the library by name and resolves these functions; they are declared
 * here so that it can take their types from one place (`decltype(&Fg_getParameterId)` in C++).
 *
 * Results are 0 for success and a negative code of error_codes.h otherwise, unless a function says more. A board
 * structure that is null or holds no applet yields -2001 (null, or 0 for an event mask).
 */

#ifdef __cplusplus
extern "C" {
#endif
#ifdef __ELF__
#pragma GCC visibility push(default) /* exported, whatever the build's default is */
#endif

/** The runtime's per-board structure; the applet relies on its first field alone. */
typedef struct BoardStructure {
    void* applet; /**< what Std_entry returned; null after Fg_FreeGrabber */
} BoardStructure;

/** Line-by-line access to the shading coefficients; opaque, owned by the applet. */
typedef struct ShadingAccess ShadingAccess;

/** Value of FG_LUT_VALUE: one entry of the lookup table. */
typedef struct LutEntry {
    uint32_t value; /**< 0 to 4095 */
    uint32_t index; /**< 0 to 4095 */
} LutEntry;

/**
 * Starts the applet for one board.
 *
 * @param board     the runtime's handle of the board, passed on to the runtime and the register library
 * @param errorOut  receives 0 or the code of the failure; may be null
 * @param mode      0
 * @return the applet object, to be stored in BoardStructure::applet; null on failure
 */
void* Std_entry(void* board, int32_t* errorOut, int32_t mode);

/** Static facts about the applet, answered without a board. Null results are not written. */
int32_t Info(int32_t request, uint32_t index1, uint32_t index2, void* out1, void* out2);

/** @param value in the parameter's own type: uint32_t, int32_t, double, characters or LutEntry; @param port 0 */
int32_t Fg_setParameterWithType(BoardStructure*, int32_t id, const void* value, uint32_t port, int32_t type);
/** As the setter; for the value types 3 and 4 (64 bits) the whole destination is cleared first. */
int32_t Fg_getParameterWithType(BoardStructure*, int32_t id, void* value, uint32_t port, int32_t type);
int32_t Fg_getParameterIdByName(BoardStructure*, const char* name);
const char* Fg_getParameterName(BoardStructure*, int32_t index);
int32_t Fg_getParameterId(BoardStructure*, int32_t index);
int32_t Fg_getNrOfParameter(BoardStructure*);
int32_t Fg_saveConfig(BoardStructure*, const char* fileName);
int32_t Fg_loadConfig(BoardStructure*, const char* fileName);
/** With a null buffer stores the size needed, terminator included. */
int32_t Fg_getParameterInfoXML(BoardStructure*, int32_t port, char* buffer, size_t* bufferSize);
ShadingAccess* Fg_AllocShading(BoardStructure*, int32_t set, int32_t port);
int32_t Fg_FreeShading(BoardStructure*, ShadingAccess*);
int32_t Shad_SetSubValueLine(BoardStructure*, ShadingAccess*, int32_t x, int32_t channel, float value);
int32_t Shad_SetMultValueLine(BoardStructure*, ShadingAccess*, int32_t x, int32_t channel, float value);
int32_t Shad_SetFixedPatternNoiseLine(BoardStructure*, ShadingAccess*, int32_t x, int32_t channel, int32_t on);
int32_t Shad_GetMaxLine(BoardStructure*, ShadingAccess*);
int32_t Shad_GetAccess(BoardStructure*, ShadingAccess*);
int32_t Shad_FreeAccess(BoardStructure*, ShadingAccess*);
int32_t Shad_WriteActLine(BoardStructure*, ShadingAccess*, int32_t line);
/** @return the mask with the event's bit, 0 when the name is unknown */
uint64_t Fg_getEventMask(BoardStructure*, const char* name);
const char* Fg_getEventName(BoardStructure*, uint64_t mask);
int32_t Fg_getLastErrorNumber(BoardStructure*);
int32_t Fg_getAppletId(BoardStructure*, void* argument);
int64_t Fg_getStatusEx(BoardStructure*, int32_t parameter, uint64_t data, uint32_t dmaIndex, void* memory);
int32_t Fg_AcquireEx(BoardStructure*, uint32_t dmaIndex, int64_t pictureCount, int32_t flag, void* memory);
int32_t Fg_stopAcquireEx(BoardStructure*, uint32_t dmaIndex, void* memory, int32_t flag);
int64_t Fg_getLastPicNumberEx(BoardStructure*, uint32_t dmaIndex, void* memory);
int64_t Fg_getLastPicNumberBlockingEx(BoardStructure*, int64_t picture, uint32_t dmaIndex, int32_t timeout,
                                      void* memory);
/**
 * @return a readable description of the parameter as it is now, lines of "Key: value"; null when it is unknown. The
 * text stays as it is until Fg_FreeGrabber, also when later calls answer other texts
 */
const char* Fg_getParameterInfo(BoardStructure*, int32_t id);
/** Hands the board back to the runtime and destroys the applet; the board structure's applet becomes null. */
int32_t Fg_FreeGrabber(BoardStructure*);

#ifdef __ELF__
#pragma GCC visibility pop
#endif
#ifdef __cplusplus
}
#endif

#endif
