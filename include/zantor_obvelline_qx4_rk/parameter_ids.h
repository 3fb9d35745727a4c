#ifndef ZANTOR_OBVELLINE_QX4_RK_PARAMETER_IDS_H
#define ZANTOR_OBVELLINE_QX4_RK_PARAMETER_IDS_H

/** Identifiers of the fixed parameters (FG_WIDTH, FG_TRIGGERSTATE, ...). */
enum FgParameterId {
#define FG_PARAMETER(name, identifier, description) name = (identifier),
#include "parameter_table.inc"
};

/** Where the identifiers of direct-access parameters start: a "DRA_" parameter is this plus its register address, ...
 */
enum { FG_DIRECT_REGISTER_BASE = 1000000 };
/** ... and a "DZEA_" parameter is this plus the runtime's identifier of the design parameter. */
enum { FG_DIRECT_DESIGN_BASE = 2000000 };

#endif
