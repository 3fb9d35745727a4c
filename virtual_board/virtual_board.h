#ifndef VIRTUAL_BOARD_VIRTUAL_BOARD_H
#define VIRTUAL_BOARD_VIRTUAL_BOARD_H

#include <stddef.h>
#include <stdint.h>

/**
 * Control surface of the virtual board: what no real board offers. The four vendor libraries built beside this one
 * (nuvrak5, nuvrod, qelm_hw, nuvpix) are thin surfaces over one model per process; a host opens boards here, hands
 * them to an applet as the board pointer of Std_entry, looks at what arrived and injects faults. Any thread may call
 * everything. Names of the design's parts are its own, in full; names of files are UTF-8, on Linux any bytes.
 */

#if !defined(_WIN32)
#define VIRTUAL_BOARD_API __attribute__((visibility("default")))
#elif defined(qelm_virtual_board_EXPORTS)
#define VIRTUAL_BOARD_API __declspec(dllexport)
#else
#define VIRTUAL_BOARD_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** One board with its design, in power-on state. */
typedef struct VirtualBoard VirtualBoard;

/** @return a new board, or null when memory is short; boards are independent of each other */
VIRTUAL_BOARD_API VirtualBoard* virtualBoardOpen(void);
/** Closes the board; runtime handles that still refer to it stay valid and answer -2001. Null is ignored. */
VIRTUAL_BOARD_API void virtualBoardClose(VirtualBoard* board);

/* State. Results: 0, or -2070 for an unknown name, index or board */

/** Reads an integer design parameter, or element `index` of a field; index 0 for scalars. No trace entry. */
VIRTUAL_BOARD_API int32_t virtualBoardGetDesignValue(VirtualBoard* board, const char* name, uint32_t index,
                                                     uint32_t* value);
/** Sets a design parameter as the hardware would: read-only and limits do not apply. No trace entry. */
VIRTUAL_BOARD_API int32_t virtualBoardSetDesignValue(VirtualBoard* board, const char* name, uint32_t index,
                                                     uint32_t value);
/** @return the text of a path-type design parameter, valid until it changes; null when unknown */
VIRTUAL_BOARD_API const char* virtualBoardGetDesignText(VirtualBoard* board, const char* name);
/** Counts the pulses that a command of the design has issued: one each time its maximum was written. */
VIRTUAL_BOARD_API int32_t virtualBoardGetCommandCount(VirtualBoard* board, const char* name, uint64_t* pulses);
VIRTUAL_BOARD_API int32_t virtualBoardGetRegister(VirtualBoard* board, const char* name, uint64_t* value);
VIRTUAL_BOARD_API int32_t virtualBoardSetRegister(VirtualBoard* board, const char* name, uint64_t value);
/** Parameters that the runtime itself serves (600, 2050, 3050, ...). */
VIRTUAL_BOARD_API int32_t virtualBoardGetRuntimeValue(VirtualBoard* board, int32_t id, uint32_t* value);
VIRTUAL_BOARD_API int32_t virtualBoardSetRuntimeValue(VirtualBoard* board, int32_t id, uint32_t value);

/**
 * The coefficient plane that the shading correction has loaded last into `buffer`: rows of `width` values, valid until
 * the next load into that buffer. -2070 before the first.
 */
VIRTUAL_BOARD_API int32_t virtualBoardCoefficients(VirtualBoard* board, uint32_t buffer, const uint16_t** pixels,
                                                   int32_t* width, int32_t* height);

/* Camera. Nothing is connected at first */

/**
 * Connects a Camera Link Medium camera, in place of the one before.
 *
 * @param options  "key=value,key=value": see virtualBoardCameraHelp; null or "" for the default camera
 * @param scene    what it looks at: the name of a built-in chart, or a TIFF or PNG file; null or "" for the test chart
 * @param problem  when not null, gets a sentence on what is wrong: at most `size` characters with the terminating zero
 * @return 0, or -6000 for options that do not hold and for a scene that is neither a chart nor a readable file
 */
VIRTUAL_BOARD_API int32_t virtualBoardConnectCamera(VirtualBoard* board, const char* options, const char* scene,
                                                    char* problem, size_t size);
VIRTUAL_BOARD_API int32_t virtualBoardDisconnectCamera(VirtualBoard* board);
/** What the options of a camera are: lines of text. */
VIRTUAL_BOARD_API const char* virtualBoardCameraHelp(void);

/* Pictures. The runtime's acquisition functions take memory that was allocated here.

   Fg_AcquireEx: dmaIndex 0; pictureCount -1 for no end; flag VIRTUAL_BOARD_ACQUIRE_STANDARD. Pictures count from 1 and
   take the memory's places in turn; what exceeds its place is cut off. Fg_getLastPicNumberBlockingEx lets virtual time
   pass until the picture has come, or until `timeout` seconds of it are over: -2110. -2115 when the board acquires
   already, -2116 for memory that takes part in no acquisition. */

enum { VIRTUAL_BOARD_ACQUIRE_STANDARD = 1 };

/** @return memory for so many pictures, the `memory` of the runtime's functions; null when that is too much */
VIRTUAL_BOARD_API void* virtualBoardAllocateFrames(VirtualBoard* board, size_t bytesPerPicture, size_t pictures);
/**
 * As above, in memory of the caller's: places[i] takes `bytesPerPicture` bytes until virtualBoardFreeFrames, or until
 * another one takes its place.
 */
VIRTUAL_BOARD_API void* virtualBoardUseFrames(VirtualBoard* board, size_t bytesPerPicture, size_t pictures,
                                              void* const* places);
/**
 * Only for memory of the caller's: lets `place` take the place of picture `number`, which stays as it is then and is
 * the caller's alone. -2070 when the picture has not come or is gone already; nothing changes then.
 */
VIRTUAL_BOARD_API int32_t virtualBoardExchangePlace(void* memory, int64_t number, void* place);
/** Gives the memory back; an acquisition into it ends. */
VIRTUAL_BOARD_API int32_t virtualBoardFreeFrames(void* memory);
/** As Fg_getLastPicNumberBlockingEx, but without an applet and to the nanosecond. */
VIRTUAL_BOARD_API int64_t virtualBoardWaitForPicture(void* memory, int64_t number, uint64_t nanoseconds);
/** Picture `number`, valid until its place is taken again. -2070 when it has not come or is gone already. */
VIRTUAL_BOARD_API int32_t virtualBoardPicture(void* memory, int64_t number, const void** bytes, size_t* size);
/**
 * Writes a grey picture, rows without gaps, to a file: PNG when its name ends in ".png", else TIFF.
 *
 * @param bits  8 or 16, low byte first
 * @return 0, -6000 for sizes that cannot be, -1 when not all of it could be written; no half file is left then
 */
VIRTUAL_BOARD_API int32_t virtualBoardWritePicture(const char* file, const void* pixels, int32_t width, int32_t height,
                                                   int32_t bits);
/** How fast pictures move from the board to the host; 900 MB/s at first. -6000 for 0. */
VIRTUAL_BOARD_API int32_t virtualBoardSetTransferRate(VirtualBoard* board, uint64_t bytesPerSecond);

/** What Fg_getStatusEx knows. */
enum VirtualBoardStatus {
    VIRTUAL_BOARD_STATUS_ACQUIRING = 1,         /**< 1 while pictures are being acquired */
    VIRTUAL_BOARD_STATUS_PICTURES_ACQUIRED = 2, /**< since the start of the acquisition */
    VIRTUAL_BOARD_STATUS_PICTURES_LOST = 3      /**< likewise */
};

/* The trigger unit in virtual time. Nothing moves by itself: time passes with virtualBoardAdvance, and while
   Fg_getLastPicNumberBlockingEx waits. */

/** Drives a trigger input pin, 0 to 7; the debounce decides when the design sees the level. */
VIRTUAL_BOARD_API int32_t virtualBoardSetInput(VirtualBoard* board, uint32_t pin, int32_t level);
/** Lets virtual time pass: at most an hour at a time, else -6000. */
VIRTUAL_BOARD_API int32_t virtualBoardAdvance(VirtualBoard* board, uint64_t nanoseconds);
/** The virtual time since power-on. */
VIRTUAL_BOARD_API int32_t virtualBoardGetTime(VirtualBoard* board, uint64_t* nanoseconds);
/** A camera-control line, 0 to 3, or trigger output, 0 to 7: its level and its rising edges since power-on. */
VIRTUAL_BOARD_API int32_t virtualBoardGetCameraControl(VirtualBoard* board, uint32_t line, int32_t* level,
                                                       uint64_t* pulses);
VIRTUAL_BOARD_API int32_t virtualBoardGetOutput(VirtualBoard* board, uint32_t line, int32_t* level, uint64_t* pulses);

typedef struct {
    const char* name;     /**< the design's own, valid while the board keeps its design */
    uint64_t mask;        /**< the bit of the event's position in the design's list; 0 beyond the 64th */
    uint64_t nanoseconds; /**< when it was raised, in virtual time */
} VirtualBoardEvent;

/** Starts (into an empty list) or stops recording the events that the design raises; it is off at first. */
VIRTUAL_BOARD_API int32_t virtualBoardRecordEvents(VirtualBoard* board, int32_t record);
VIRTUAL_BOARD_API int32_t virtualBoardEventCount(VirtualBoard* board, size_t* count);
VIRTUAL_BOARD_API int32_t virtualBoardEventAt(VirtualBoard* board, size_t position, VirtualBoardEvent* event);

/** The board's signals, in the order of their numbers. Levels are 0 or 1; the queue is a number. */
enum VirtualBoardSignal {
    VIRTUAL_BOARD_SIGNAL_INPUT = 0,     /**< 8 trigger inputs, debounced */
    VIRTUAL_BOARD_SIGNAL_QUEUE = 8,     /**< triggers that wait */
    VIRTUAL_BOARD_SIGNAL_GENERATOR = 9, /**< 4 pulse form generators */
    VIRTUAL_BOARD_SIGNAL_CONTROL = 13,  /**< 4 camera-control lines */
    VIRTUAL_BOARD_SIGNAL_OUTPUT = 17,   /**< 8 trigger outputs */
    VIRTUAL_BOARD_SIGNAL_EXPOSURE = 25, /**< the camera exposes */
    VIRTUAL_BOARD_SIGNAL_FRAME = 26,    /**< a frame is being sent */
    VIRTUAL_BOARD_SIGNAL_COUNT = 27
};

typedef struct {
    uint64_t nanoseconds; /**< in virtual time */
    uint32_t signal;
    uint32_t value; /**< from now on */
} VirtualBoardSignalChange;

/** Starts (into an empty list, with the values of all signals now) or stops recording; it is off at first. */
VIRTUAL_BOARD_API int32_t virtualBoardRecordSignals(VirtualBoard* board, int32_t record);
VIRTUAL_BOARD_API int32_t virtualBoardSignalChangeCount(VirtualBoard* board, size_t* count);
VIRTUAL_BOARD_API int32_t virtualBoardSignalChangeAt(VirtualBoard* board, size_t position,
                                                     VirtualBoardSignalChange* change);

/* Trace: every call into the vendor libraries, in order, for the whole process */

typedef struct {
    VirtualBoard* board; /**< null for calls that concern no board */
    const char* call;    /**< the library function, e.g. "Fg_setParameterWithType" */
    const char* target;  /**< design parameter, register, file or runtime parameter name; "" when there is none */
    const char* value;   /**< the value as text: "512", "3: 1" for element 3, "[4096] 0 1 2 ..." for a field, a path */
    uint64_t number;     /**< the value of scalars and elements; 0 otherwise */
    uint32_t index;      /**< the element of an element write; 0 otherwise */
    int32_t isWrite;     /**< 1 when the call would change the design, a register or a runtime parameter */
    int64_t result;      /**< what the call answered; 1 or 0 for pointers */
} VirtualBoardTraceEntry;

/** Starts recording into an empty trace; recording is off at first, so that long runs need no memory. */
VIRTUAL_BOARD_API void virtualBoardTraceStart(void);
VIRTUAL_BOARD_API void virtualBoardTraceStop(void);
VIRTUAL_BOARD_API size_t virtualBoardTraceLength(void);
/** @return entry 0 to length - 1, valid until the trace is started again; null past the end */
VIRTUAL_BOARD_API const VirtualBoardTraceEntry* virtualBoardTraceAt(size_t position);
/* With the environment variable QELM_VIRTUAL_BOARD_TRACE set to a file name (or "-" for the standard error output)
 * every call is also printed there as one line. */

/* Faults */

/**
 * Lets chosen calls fail: of the calls that match, the first `skip` pass, the next `count` fail with `code` and
 * without effect, later ones pass again. Functions that answer a pointer or an unsigned number fail with null or 0,
 * readImage with 0; those that answer nothing cannot fail and do not count. Faults add up; each keeps its own count.
 *
 * @param board   null matches every board and the calls that concern none
 * @param call    library function name; null matches every one
 * @param target  as in the trace; null matches every one
 */
VIRTUAL_BOARD_API void virtualBoardFail(VirtualBoard* board, const char* call, const char* target, uint32_t skip,
                                        uint32_t count, int32_t code);
/** Removes all faults. */
VIRTUAL_BOARD_API void virtualBoardClearFaults(void);

/* Leaks */

typedef struct {
    int32_t boards;         /**< opened with virtualBoardOpen and not closed */
    int32_t runtimeHandles; /**< given out by the runtime and not freed */
    int32_t designImages;   /**< loaded and not released */
    int32_t imageBuffers;   /**< given out by readImage and not freed */
    int32_t frameMemories;  /**< allocated for pictures and not freed */
} VirtualBoardResources;

/** What is open now. */
VIRTUAL_BOARD_API VirtualBoardResources virtualBoardResources(void);

#ifdef __cplusplus
}
#endif

#endif
