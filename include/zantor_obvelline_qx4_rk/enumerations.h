#ifndef ZANTOR_OBVELLINE_QX4_RK_ENUMERATIONS_H
#define ZANTOR_OBVELLINE_QX4_RK_ENUMERATIONS_H

/** Values of the enumerated parameters (FG_ON, ATM_GENERATOR, ...); a name that two tables share is defined once. */
enum FgEnumerationValue {
#define FG_ENUMERATION(table)
#define FG_ENUMERATOR(name, value, text) name = (value),
#define FG_ENUMERATOR_SHARED(name, value, text)
#define FG_ENUMERATION_END(table)
#include "enumerations.inc"
};

#endif
