/*
 * Acquisition in plain C: loads the applet as a runtime does, sets a region of interest, grabs pictures of a virtual
 * camera into memory of the runtime's, and tells what they are like.
 *
 *     example_grab_c [APPLET]        APPLET: Zantor_Obvelline_Qx4_RK.so or .dll, if not where the loader finds it
 *
 * On a real board the same calls go to the same functions: what begins with virtualBoard is what a frame grabber, its
 * camera and its runtime's memory would otherwise be.
 */

#include "virtual_board.h"
#include "virtual_board_frames.h"
#include "zantor_obvelline_qx4_rk/applet.h"
#include "zantor_obvelline_qx4_rk/enumerations.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
#define APPLET_FILE "Zantor_Obvelline_Qx4_RK.dll"
static void* loadLibrary(const char* file) {
    return (void*)LoadLibraryExA(file, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
}
static void* findFunction(void* library, const char* name) {
    return (void*)(size_t)GetProcAddress((HMODULE)library, name);
}
#else
#include <dlfcn.h>
#define APPLET_FILE "Zantor_Obvelline_Qx4_RK.so"
static void* loadLibrary(const char* file) {
    return dlopen(file, RTLD_NOW | RTLD_LOCAL);
}
static void* findFunction(void* library, const char* name) {
    return dlsym(library, name);
}
#endif

enum { width = 640, height = 480, pictures = 5, typeUnsigned32 = 2, port = 0, dma = 0, timeoutSeconds = 10 };

/* The functions of the applet that this program calls, with their types from applet.h. */
#define FUNCTIONS(use)                                                                                                 \
    use(Std_entry) use(Fg_setParameterWithType) use(Fg_getParameterInfo) use(Fg_AcquireEx) use(Fg_stopAcquireEx)       \
        use(Fg_getLastPicNumberBlockingEx) use(Fg_getStatusEx) use(Fg_FreeGrabber)
static struct {
#define DECLARE(name) __typeof__(&name) name;
    FUNCTIONS(DECLARE)
} applet;

static int loadApplet(const char* file) {
    void* library = loadLibrary(file);
    void* address = NULL;
    if (library == NULL) {
        fprintf(stderr, "%s cannot be loaded\n", file);
        return 0;
    }
#define RESOLVE(name)                                                                                                  \
    address = findFunction(library, #name);                                                                            \
    memcpy(&applet.name, &address, sizeof address);                                                                    \
    if (address == NULL) {                                                                                             \
        fprintf(stderr, "%s has no function %s\n", file, #name);                                                       \
        return 0;                                                                                                      \
    }
    FUNCTIONS(RESOLVE)
    return 1;
}

/* Every call answers a code; a refusal says for which parameter. */
static int set(BoardStructure* board, int32_t id, uint32_t value) {
    const int32_t code = applet.Fg_setParameterWithType(board, id, &value, port, typeUnsigned32);
    if (code != 0) {
        fprintf(stderr, "%u was refused (%d) for this parameter:\n%s", (unsigned)value, (int)code,
                applet.Fg_getParameterInfo(board, id));
    }
    return code == 0;
}

static int setUp(BoardStructure* board, VirtualBoard* virtualBoard) {
    char problem[256] = "";
    if (!set(board, FG_WIDTH, width) || !set(board, FG_HEIGHT, height) || !set(board, FG_XOFFSET, 192) ||
        !set(board, FG_YOFFSET, 272)) {
        return 0;
    }
    if (virtualBoardConnectCamera(virtualBoard, "sensor=typical", "chart", problem, sizeof problem) != 0) {
        fprintf(stderr, "the camera: %s\n", problem);
        return 0;
    }
    return set(board, FG_TRIGGERSTATE, TS_ACTIVE);
}

static void show(void* memory, int64_t number) {
    const void* bytes = NULL;
    size_t size = 0;
    VirtualBoardFrameInfo information;
    if (virtualBoardPicture(memory, number, &bytes, &size) != 0 ||
        virtualBoardFrameInfo(memory, number, &information) != 0) {
        printf("picture %d is overwritten already\n", (int)number);
        return;
    }
    double sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum += ((const unsigned char*)bytes)[i];
    }
    printf("picture %d: %d x %d, mean %.2f, triggered at %.3f ms\n", (int)number, width, height, sum / (double)size,
           (double)information.triggerNanoseconds * 1e-6);
}

static int grab(BoardStructure* board, void* memory) {
    int32_t code = applet.Fg_AcquireEx(board, dma, pictures, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory);
    if (code != 0) {
        fprintf(stderr, "the acquisition does not start (%d)\n", (int)code);
        return 0;
    }
    for (int64_t number = 1; number <= pictures; ++number) {
        const int64_t last = applet.Fg_getLastPicNumberBlockingEx(board, number, dma, timeoutSeconds, memory);
        if (last < number) {
            fprintf(stderr, "picture %d did not come (%d)\n", (int)number, (int)last);
            return 0;
        }
        show(memory, number);
    }
    printf("%d lost\n", (int)applet.Fg_getStatusEx(board, VIRTUAL_BOARD_STATUS_PICTURES_LOST, 0, dma, memory));
    code = applet.Fg_stopAcquireEx(board, dma, memory, 0);
    return code == 0;
}

int main(int argc, char** argv) {
    if (!loadApplet(argc > 1 ? argv[1] : APPLET_FILE)) {
        return EXIT_FAILURE;
    }
    VirtualBoard* virtualBoard = virtualBoardOpen();
    BoardStructure board = {NULL};
    int32_t error = 0;
    board.applet = applet.Std_entry(virtualBoard, &error, 0);
    if (board.applet == NULL) {
        fprintf(stderr, "the applet does not start (%d)\n", (int)error);
        virtualBoardClose(virtualBoard);
        return EXIT_FAILURE;
    }
    int done = setUp(&board, virtualBoard);
    void* memory = virtualBoardAllocateFrames(virtualBoard, (size_t)width * height, pictures);
    done = done && memory != NULL && grab(&board, memory);
    virtualBoardFreeFrames(memory);
    applet.Fg_FreeGrabber(&board);
    virtualBoardClose(virtualBoard);
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
