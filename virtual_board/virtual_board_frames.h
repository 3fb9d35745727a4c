#ifndef VIRTUAL_BOARD_VIRTUAL_BOARD_FRAMES_H
#define VIRTUAL_BOARD_VIRTUAL_BOARD_FRAMES_H

#include "virtual_board.h"

/** Where the pictures of an acquisition come from, and which frames became none. Times are virtual, since power-on. */

#ifdef __cplusplus
extern "C" {
#endif

/** Frames that did not become pictures, counted from power-on on: who wants those of a while takes the difference. */
typedef struct {
    uint64_t missingFrames; /**< pulses of generator 0 for which no frame came before the next one */
    uint64_t overflows;     /**< frames that found the board's frame buffer full */
    uint64_t noBuffer;      /**< frames that came while no acquisition gave them memory */
} VirtualBoardLosses;

/** Until now. Frames that the image selector leaves out on purpose are not lost. -2070 for an unknown board. */
VIRTUAL_BOARD_API int32_t virtualBoardGetLosses(VirtualBoard* board, VirtualBoardLosses* losses);

typedef struct {
    uint64_t frame;              /**< the frame's number: all that came since the acquisition began count, from 1 */
    uint64_t nanoseconds;        /**< when the frame ended */
    uint64_t triggerNanoseconds; /**< when a trigger began its exposure, or that began by itself */
    uint64_t bytes;              /**< of the whole picture; its place in the memory may have been too small for them */
    VirtualBoardLosses losses;   /**< when the frame ended */
} VirtualBoardFrameInfo;

/** Of picture `number`, as long as virtualBoardPicture has it; -2070 when not. */
VIRTUAL_BOARD_API int32_t virtualBoardFrameInfo(void* memory, int64_t number, VirtualBoardFrameInfo* info);

#ifdef __cplusplus
}
#endif

#endif
