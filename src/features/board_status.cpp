#include "features/board_status.h"

#include <algorithm>

namespace qelm::features {
namespace {

namespace rows = parameters::rows;
using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t port = 0;
constexpr std::uint32_t appletId = 0;
constexpr std::uint32_t appletVersion = 2;
constexpr std::uint32_t appletRevision = 4;

constexpr std::int32_t answeredByRuntime[] = {FG_APC_STOP_TIMEOUT, FG_NR_OF_DMAS, FG_NR_OF_CAMS,   FG_NR_OF_PROCESSES,
                                              FG_DMA_PORT,         FG_CAM_PORT,   FG_TRANSFER_LEN, FG_DMASTATUS};

// FG_CAMSTATUS_EXTENDED: the runtime's bits, but for the buffer's.
constexpr std::uint32_t overflowBit = 1U << 5;
constexpr std::uint32_t fillLevelShift = 6;
constexpr std::uint32_t bufferBits = 7U << 5;
constexpr std::uint32_t percentPerClass = 25;
constexpr std::uint32_t highestClass = 3;

// Apply: handed on to the runtime under the same identifier.
auto passesOn(parameters::DesignAccess& design, std::int32_t id) {
    return [&design, id](std::uint32_t value, auto) {
        const std::int32_t result = design.setRuntimeParameter(id, &value, port);
        require(result == 0, result);
    };
}

} // namespace

BoardStatus::BoardStatus(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                         std::string designImageFileName)
    : design_(design)
    , timeout_(dispatch, rows::FG_TIMEOUT, {.apply = passesOn(design, FG_TIMEOUT)})
    , turboDmaMode_(dispatch, rows::FG_TURBO_DMA_MODE, {.apply = passesOn(design, FG_TURBO_DMA_MODE)})
    , overflow_(dispatch, rows::FG_OVERFLOW, parameters::calls(this, &BoardStatus::readOverflow))
    , fillLevel_(dispatch, rows::FG_FILLLEVEL, [this] { return readFillLevel(readOverflow()); })
    , extendedStatus_(dispatch, rows::FG_CAMSTATUS_EXTENDED, parameters::calls(this, &BoardStatus::readExtendedStatus))
    , cameraStatus_(dispatch, rows::FG_CAMSTATUS, [this] { return readExtendedStatus() & 1U; })
    , appletId_(dispatch, rows::FG_APPLET_ID, [] { return appletId; })
    , appletVersion_(dispatch, rows::FG_APPLET_VERSION, [] { return appletVersion; })
    , appletRevision_(dispatch, rows::FG_APPLET_REVISION, [] { return appletRevision; })
    , hapFile_(dispatch, rows::FG_HAP_FILE, [name = std::move(designImageFileName)] { return name; }) {
    for (const std::int32_t id : answeredByRuntime) {
        dispatch.addAnsweredByRuntime(id);
    }
}

std::uint32_t BoardStatus::readOverflow() const {
    return design_.read(Overflow_OverflowOccurred);
}

std::uint32_t BoardStatus::readFillLevel(std::uint32_t overflow) const {
    if (overflow == 1) {
        return 100;
    }
    const std::uint32_t first = design_.read(Buffer_0_FrameBuffer_Buffer_0_FillLevel);
    return std::max(first, design_.read(Buffer_0_FrameBuffer_Buffer_1_FillLevel));
}

std::uint32_t BoardStatus::readExtendedStatus() const {
    std::uint32_t status = 0;
    const std::int32_t result = design_.getRuntimeParameter(FG_CAMSTATUS_EXTENDED, &status, port);
    require(result == 0, result);
    const std::uint32_t overflow = readOverflow();
    status &= ~bufferBits;
    if (overflow != 0) {
        status |= overflowBit;
    }
    return status | std::min(readFillLevel(overflow) / percentPerClass, highestClass) << fillLevelShift;
}

} // namespace qelm::features
