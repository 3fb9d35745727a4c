#ifndef VENDOR_NUVROD_H
#define VENDOR_NUVROD_H

#include <stdint.h>

/** The design image loader: opens HAP images and tells their registers and events. Linked, by ordinal on Windows. */

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    const char* name; /**< the design's hierarchical event name */
    int32_t kind;     /**< 1: published under its design name */
} DesignEvent;

/** @return an image handle, or null; designNumber is the design's own number, one is 1 */
void* loadDesignImageFile(const char* fileName, int32_t designNumber, int32_t one);
void* loadDesignImageMemory(const void* address, uint64_t length, int32_t one);
void releaseDesignImage(void* image);
uint32_t getDesignRegisterCount(void* image);
/** @param index from 1 to the register count */
const char* getDesignRegisterName(void* image, uint32_t index);
uint32_t getDesignRegisterAddress(void* image, const char* name);
/** @return the width in bits */
uint32_t getDesignRegisterWidth(void* image, uint32_t address);
int32_t isDesignRegisterWritable(void* image, uint32_t address);
/** @param index from 0; @return null past the end */
const DesignEvent* getDesignEvent(void* image, uint32_t index);

#ifdef __cplusplus
}
#endif

#endif
