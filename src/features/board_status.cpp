#include "features/board_status.h"

#include <algorithm>

namespace qelm::features {
namespace {

using parameters::require;
using enum parameters::DesignParameter;

constexpr std::uint32_t port = 0;
constexpr std::uint32_t shortestTimeout = 2;         // seconds
constexpr std::uint32_t longestTimeout = 2147483646; // seconds
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

void BoardStatus::Forwarded::get(void* value) {
    const std::int32_t result = design_.getRuntimeParameter(id(), value, port);
    require(result == 0, result);
}

void BoardStatus::Forwarded::set(const void* /*value*/, parameters::OnFailure onFailure) {
    parameters::refuseReadOnly(onFailure);
}

BoardStatus::BoardStatus(parameters::DesignAccess& design, std::string designImageFileName)
    : design_(design)
    , timeout_(FG_TIMEOUT, 1000000,
               {.check = parameters::inRange(shortestTimeout, longestTimeout), .apply = passesOn(design, FG_TIMEOUT)})
    , turboDmaMode_(FG_TURBO_DMA_MODE, 0,
                    {.check = parameters::inRange(0U, 1U), .apply = passesOn(design, FG_TURBO_DMA_MODE)})
    , overflow_(FG_OVERFLOW, [this] { return readOverflow(); })
    , fillLevel_(FG_FILLLEVEL, [this] { return readFillLevel(readOverflow()); })
    , extendedStatus_(FG_CAMSTATUS_EXTENDED, [this] { return readExtendedStatus(); })
    , cameraStatus_(FG_CAMSTATUS, [this] { return readExtendedStatus() & 1U; })
    , appletId_(FG_APPLET_ID, [] { return appletId; })
    , appletVersion_(FG_APPLET_VERSION, [] { return appletVersion; })
    , appletRevision_(FG_APPLET_REVISION, [] { return appletRevision; })
    , hapFile_(FG_HAP_FILE, [name = std::move(designImageFileName)] { return name; }) {
    for (const std::int32_t id : answeredByRuntime) {
        forwarded_.emplace_back(id, design);
    }
}

void BoardStatus::enroll(parameters::Dispatch& dispatch) {
    for (parameters::Parameter* parameter : std::initializer_list<parameters::Parameter*>{
             &timeout_, &turboDmaMode_, &overflow_, &fillLevel_, &extendedStatus_, &cameraStatus_, &appletId_,
             &appletVersion_, &appletRevision_, &hapFile_}) {
        dispatch.add(*parameter);
    }
    for (Forwarded& parameter : forwarded_) {
        dispatch.add(parameter);
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
