#include "resource_files.h"

#ifdef _WIN32
        .section .rdata,"dr"
#else
        .section .rodata
#endif
        .balign 16
        .globl  qelm_design_image
qelm_design_image:
        .incbin QELM_DESIGN_IMAGE_FILE
        .globl  qelm_design_image_end
qelm_design_image_end:
        .balign 16
        .globl  qelm_icon
qelm_icon:
        .incbin QELM_ICON_FILE
        .globl  qelm_icon_end
qelm_icon_end:

#ifdef __ELF__
        .section .note.GNU-stack,"",@progbits
#endif
