#ifndef VENDOR_QELM_HW_H
#define VENDOR_QELM_HW_H

#include <stdint.h>

/** The register library: raw design registers of a board. Linked, by ordinal on Windows. */

#ifdef __cplusplus
extern "C" {
#endif

/** @return 0 on success, else an error code; zero is 0 */
int32_t writeRegister(void* board, uint32_t address, uint64_t value, int32_t zero);
int32_t readRegister(void* board, uint32_t address, uint64_t* value, int32_t zero);

#ifdef __cplusplus
}
#endif

#endif
