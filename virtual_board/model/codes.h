#pragma once

#include <cstdint>

namespace qelm::virtual_board {

/** What the vendor libraries answer when they refuse. */
enum Code : std::int32_t {
    ok = 0,
    systemError = -1,     /**< the system refused memory or a file */
    notPermitted = -12,   /**< write to something read-only, or read of something write-only */
    noDesignImage = -100, /**< the image handle given to an init function is none */
    invalidBoard = -2001, /**< no such board or handle, or its board was closed */
    unknown = -2070,      /**< unknown identifier, name or address, null pointer, or a type that does not fit */
    fileNotFound = -2076, /**< a coefficient file is missing or not of the required form */
    timedOut = -2110,     /**< the picture waited for did not come in time */
    acquiring = -2115,    /**< pictures are being acquired already */
    notAcquiring = -2116, /**< the memory takes part in no acquisition */
    notSupported = -2130, /**< nothing this board can do */
    outOfRange = -6000    /**< the design's limits do not admit the value */
};

} // namespace qelm::virtual_board
