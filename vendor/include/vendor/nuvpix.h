#ifndef VENDOR_NUVPIX_H
#define VENDOR_NUVPIX_H

#include <stdint.h>

/** The image-file library. Linked, by ordinal on Windows. Pixels are rows of width samples without padding. */

#ifdef __cplusplus
extern "C" {
#endif

/** @return 0 on success */
int32_t writeImage(const char* path, const void* pixels, int32_t width, int32_t height, int32_t bitsPerSample,
                   int32_t samplesPerPixel);
/** @return non-zero on success; the pixels are released with freeImage */
int32_t readImage(const char* path, void** pixels, int32_t* width, int32_t* height, int32_t* bitsPerSample,
                  int32_t* samplesPerPixel);
void freeImage(void* pixels);

#ifdef __cplusplus
}
#endif

#endif
