/* The description of the design, as its file stands. QELM_DESIGN_DESCRIPTION is its path. */
#ifdef _WIN32
    .section .rdata, "dr"
#else
    .section .rodata
    .hidden qelmBuiltInDesign
    .hidden qelmBuiltInDesignEnd
#endif
    .global qelmBuiltInDesign
    .global qelmBuiltInDesignEnd
qelmBuiltInDesign:
    .incbin QELM_DESIGN_DESCRIPTION
qelmBuiltInDesignEnd:
    .byte 0
#ifndef _WIN32
    .section .note.GNU-stack, "", %progbits
#endif
