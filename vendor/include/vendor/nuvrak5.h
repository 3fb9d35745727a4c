#ifndef VENDOR_NUVRAK5_H
#define VENDOR_NUVRAK5_H

#include <stdint.h>

/**
 * The acquisition runtime: value layouts and the design parameter tree. Its functions are resolved by name
 * (runtime_functions.inc), since a runtime may lack some of them.
 */

#ifdef __cplusplus
extern "C" {
#endif

/** Type codes of the runtime's typed calls. */
enum RuntimeValueType {
    RUNTIME_VALUE_UINT32 = 2,          /**< a uint32_t */
    RUNTIME_VALUE_PATH = 6,            /**< the characters of a path; the value pointer is a const char* */
    RUNTIME_VALUE_FIELD = 4096,        /**< a FieldAccess */
    RUNTIME_VALUE_FIELD_ELEMENT = 4098 /**< a FieldElement */
};

typedef struct {
    uint32_t elementType; /**< RUNTIME_VALUE_UINT32 */
    uint32_t startIndex;
    uint32_t count;
    const void* data;
} FieldAccess;

typedef struct {
    uint32_t value;
    uint32_t index;
} FieldElement;

/** Kinds of DesignNode that this applet looks at; 1, 3, 5, 6, 9, 11 and 12 are not selectable. */
enum DesignNodeKind {
    DESIGN_NODE_GROUP = 0,
    DESIGN_NODE_INTEGER = 2,
    DESIGN_NODE_FLOAT = 4,
    DESIGN_NODE_ENUMERATION = 7,
    DESIGN_NODE_TEXT = 8
};

typedef struct {
    const char* text;
    int32_t value;
    const char* name;
} DesignEnumEntry;

typedef struct {
    double minimum, maximum, increment;
    int32_t access; /**< bit value 1 read, 2 write, 4 third access bit */
    const char* unit;
    int32_t entryCount;
    const DesignEnumEntry* entries;
} DesignParameterDescription;

typedef struct DesignNode {
    const char* name; /**< group name, or the full design parameter name */
    int32_t kind;     /**< a DesignNodeKind, or another number */
    int32_t childCount;
    const struct DesignNode* const* children;
    const DesignParameterDescription* description; /**< null for groups */
} DesignNode;

#ifdef __cplusplus
}
#endif

#endif
