#include "qelm/host/board.h"

#include <algorithm>
#include <utility>

namespace qelm::host {
namespace {

/** The value type codes of the typed calls; the applet knows the parameter's type and looks at the 64-bit ones only. */
enum ValueTypeCode : std::int32_t {
    typeSigned32 = 1,
    typeUnsigned32 = 2,
    typeUnsigned64 = 3,
    typeDouble = 5,
    typeText = 6,
    typeLutEntry = 4098,
};

constexpr std::uint32_t port = 0;

// Longer than any path that the systems take; texts beyond that get room when they are set.
constexpr size_t textCapacity = 65536;

TracedCall makeTracedCall(const VirtualBoardTraceEntry& entry) {
    TracedCall call{entry.call, entry.target, entry.value, entry.result, entry.isWrite != 0};
    const std::string element = std::to_string(entry.index) + ": ";
    if (call.value == element + std::to_string(entry.number)) {
        call.target += "[" + std::to_string(entry.index) + "]";
        call.value.erase(0, element.size());
    }
    return call;
}

} // namespace

std::string TracedCall::text() const {
    return target + "=" + value + (result < 0 ? " refused with " + std::to_string(result) : "");
}

Board::Board(const Applet& applet, const BoardOptions& options)
    : applet_(&applet)
    , handle_(options.handle)
    , textCapacity_(textCapacity) {
    static char anyBoard;
    if (handle_ == nullptr && applet.virtualBoard() != nullptr) {
        handle_ = ownedBoard_ = applet.virtualBoard()->open();
    }
    if (handle_ == nullptr) {
        handle_ = &anyBoard;
    }
    std::int32_t error = 0;
    structure_.applet = applet->Std_entry(handle_, &error, options.mode);
    if (structure_.applet == nullptr) {
        free();
        throw AppletError(error, "the applet could not be started");
    }
}

Board::Board(Board&& other) noexcept
    : applet_(other.applet_)
    , ownedBoard_(std::exchange(other.ownedBoard_, nullptr))
    , handle_(other.handle_)
    , structure_(std::exchange(other.structure_, BoardStructure{}))
    , textCapacity_(other.textCapacity_) {}

Board::~Board() {
    free();
}

std::int32_t Board::free() {
    const std::int32_t code = applet()->Fg_FreeGrabber(&structure_);
    if (ownedBoard_ != nullptr) {
        applet().virtualBoard()->close(std::exchange(ownedBoard_, nullptr));
    }
    return code;
}

VirtualBoard* Board::virtualBoard() const {
    return applet().virtualBoard() != nullptr ? static_cast<VirtualBoard*>(handle_) : nullptr;
}

std::int32_t Board::set(std::int32_t id, std::uint32_t value) {
    return applet()->Fg_setParameterWithType(*this, id, &value, port, typeUnsigned32);
}

std::int32_t Board::set(std::int32_t id, std::int32_t value) {
    return applet()->Fg_setParameterWithType(*this, id, &value, port, typeSigned32);
}

std::int32_t Board::set(std::int32_t id, std::uint64_t value) {
    return applet()->Fg_setParameterWithType(*this, id, &value, port, typeUnsigned64);
}

std::int32_t Board::set(std::int32_t id, double value) {
    return applet()->Fg_setParameterWithType(*this, id, &value, port, typeDouble);
}

std::int32_t Board::set(std::int32_t id, const char* value) {
    textCapacity_ = std::max(textCapacity_, std::string_view(value).size() + 1);
    return applet()->Fg_setParameterWithType(*this, id, value, port, typeText);
}

std::int32_t Board::set(std::int32_t id, const LutEntry& value) {
    return applet()->Fg_setParameterWithType(*this, id, &value, port, typeLutEntry);
}

std::int32_t Board::get(std::int32_t id, std::uint32_t& value) const {
    return applet()->Fg_getParameterWithType(*this, id, &value, port, typeUnsigned32);
}

std::int32_t Board::get(std::int32_t id, std::int32_t& value) const {
    return applet()->Fg_getParameterWithType(*this, id, &value, port, typeSigned32);
}

std::int32_t Board::get(std::int32_t id, std::uint64_t& value) const {
    return applet()->Fg_getParameterWithType(*this, id, &value, port, typeUnsigned64);
}

std::int32_t Board::get(std::int32_t id, double& value) const {
    return applet()->Fg_getParameterWithType(*this, id, &value, port, typeDouble);
}

std::int32_t Board::get(std::int32_t id, std::string& value) const {
    std::string buffer = value;
    buffer.resize(std::max(textCapacity_, value.size() + 1));
    const std::int32_t code = applet()->Fg_getParameterWithType(*this, id, buffer.data(), port, typeText);
    if (code >= 0) {
        buffer.resize(buffer.find('\0'));
        value = std::move(buffer);
    }
    return code;
}

std::int32_t Board::get(std::int32_t id, LutEntry& value) const {
    return applet()->Fg_getParameterWithType(*this, id, &value, port, typeLutEntry);
}

std::int32_t Board::findId(const char* name) const {
    return applet()->Fg_getParameterIdByName(*this, name);
}

std::string Board::nameOf(std::int32_t id) {
    return "parameter " + std::to_string(id);
}

const VirtualBoardFunctions& Board::requireVirtualBoard() const {
    if (applet().virtualBoard() == nullptr) {
        throw std::logic_error("only a virtual board records what reaches its design");
    }
    return *applet().virtualBoard();
}

void Board::clearTrace() {
    requireVirtualBoard().traceStart();
}

std::vector<TracedCall> Board::trace() const {
    const VirtualBoardFunctions& board = requireVirtualBoard();
    std::vector<TracedCall> calls;
    for (size_t position = 0; position < board.traceLength(); ++position) {
        const VirtualBoardTraceEntry* entry = board.traceAt(position);
        if (entry->board == virtualBoard()) {
            calls.push_back(makeTracedCall(*entry));
        }
    }
    return calls;
}

std::vector<std::string> Board::writes() const {
    std::vector<std::string> texts;
    for (const TracedCall& call : trace()) {
        if (call.isWrite) {
            texts.push_back(call.text());
        }
    }
    return texts;
}

} // namespace qelm::host
