#include "region_order.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace qelm::tool {
namespace {

/** The parameters of one direction. */
struct Direction {
    std::int32_t camera, size, offset;
    std::int64_t least, step, most; // what a size may be by itself
    std::int64_t offsetStep;
};
constexpr Direction directions[] = {
    {FG_CAMERA_WIDTH, FG_WIDTH, FG_XOFFSET, 16, 16, 8192, 16},
    {FG_CAMERA_HEIGHT, FG_HEIGHT, FG_YOFFSET, 2, 1, 8192, 1},
};

struct State {
    std::int64_t camera, size, offset;

    bool fits() const { return offset + size <= camera; }
};

std::int64_t& member(State& state, const Direction& direction, std::int32_t id) {
    return id == direction.camera ? state.camera : id == direction.size ? state.size : state.offset;
}

/** Whether the applet would take it; the camera's size has limits of its own alone. */
bool accepts(const State& state, const Direction& direction, std::int32_t id) {
    const auto isSize = [&](std::int64_t size) {
        return size >= direction.least && size <= direction.most && size % direction.step == 0;
    };
    return id == direction.camera ? isSize(state.camera)
                                  : state.fits() && isSize(state.size) && state.offset % direction.offsetStep == 0;
}

class Arrangement {
  public:
    Arrangement(const Session& session, std::vector<Step>& steps, const Direction& direction)
        : session_(session)
        , steps_(steps)
        , direction_(direction)
        , start_{read(direction.camera), read(direction.size), read(direction.offset)} {
        for (size_t i = 0; i < steps.size(); ++i) {
            const std::int32_t id = idOf(i);
            if (id == direction.camera || id == direction.size || id == direction.offset) {
                places_.push_back(i);
            }
        }
    }

    void arrange() {
        if (places_.size() < 2 || isRepeated() || isAccepted()) {
            return;
        }
        const std::vector<Step> given = steps_;
        std::vector<size_t> order = places_;
        do { // six at most
            for (size_t i = 0; i < order.size(); ++i) {
                steps_[places_[i]] = given[order[i]];
            }
            if (isAccepted() && end().fits()) { // the camera's size may be taken without regard to the region
                return;
            }
        } while (std::ranges::next_permutation(order).found);
        steps_ = given;
        explain();
    }

  private:
    std::int32_t idOf(size_t i) const { return steps_[i].reference.parameter->id; }
    std::int64_t valueOf(size_t i) const { return std::get<std::uint32_t>(*steps_[i].value); }
    std::int64_t read(std::int32_t id) const { return session_.board().get<std::uint32_t>(id); }

    bool isRepeated() const {
        for (size_t i = 0; i + 1 < places_.size(); ++i) {
            for (size_t j = i + 1; j < places_.size(); ++j) {
                if (idOf(places_[i]) == idOf(places_[j])) {
                    return true;
                }
            }
        }
        return false;
    }

    bool isAccepted() const {
        State state = start_;
        return std::ranges::all_of(places_, [&](size_t i) {
            member(state, direction_, idOf(i)) = valueOf(i);
            return accepts(state, direction_, idOf(i));
        });
    }

    /** What all settings lead to, in whatever order. */
    State end() const {
        State state = start_;
        for (const size_t i : places_) {
            member(state, direction_, idOf(i)) = valueOf(i);
        }
        return state;
    }

    /** Says what is too large. A value that no region could have is left to the applet, which tells its limits. */
    void explain() const {
        const State last = end();
        State roomy = last;
        roomy.camera = direction_.most;
        if (last.fits() || !accepts(roomy, direction_, direction_.size) ||
            !accepts(last, direction_, direction_.camera)) {
            return;
        }
        const auto text = [](std::int32_t id, std::int64_t value) {
            const auto& all = host::fixedParameters();
            return std::ranges::find(all, id, &host::Parameter::id)->name + " = " + std::to_string(value);
        };
        throw std::runtime_error("no order of these settings is possible: " + text(direction_.offset, last.offset) +
                                 " and " + text(direction_.size, last.size) + " need " +
                                 std::to_string(last.offset + last.size) + " pixels, and " +
                                 text(direction_.camera, last.camera));
    }

    const Session& session_;
    std::vector<Step>& steps_;
    const Direction& direction_;
    State start_;
    std::vector<size_t> places_;
};

/** Whether the applet has these parameters; another one may have a region of another kind, or none. */
bool isKnown(const Session& session, const Direction& direction) {
    return std::ranges::all_of(std::array{direction.camera, direction.size, direction.offset}, [&](std::int32_t id) {
        const auto parameter = std::ranges::find(session.parameters(), id, &host::Parameter::id);
        const auto own = std::ranges::find(host::fixedParameters(), id, &host::Parameter::id);
        return parameter != session.parameters().end() && parameter->name == own->name;
    });
}

} // namespace

std::vector<Step> arrangeRegion(const Session& session, std::vector<Step> steps) {
    for (const Direction& direction : directions) {
        if (isKnown(session, direction)) {
            Arrangement(session, steps, direction).arrange();
        }
    }
    return steps;
}

} // namespace qelm::tool
