#include "model/camera/charts.h"

#include "model/camera/canvas.h"
#include "model/camera/scene.h"

#include <algorithm>
#include <array>
#include <string>

namespace qelm::virtual_board::charts {
namespace {

using Gray = Canvas::Gray;
constexpr Gray black = 0, white = Scene::white;
constexpr Gray background = 1300, gridLine = 1700, emphasizedGridLine = 2200;

template <Gray gray>
void flat(std::span<Gray> pixels, std::uint32_t, std::uint32_t) {
    std::fill(pixels.begin(), pixels.end(), gray);
}

/** Rises twice as much from left to right as from top to bottom: any pixel that is out of place breaks the slope. */
void ramp(std::span<Gray> pixels, std::uint32_t width, std::uint32_t height) {
    const std::uint64_t acrossEnd = width - 1, downEnd = height - 1;
    auto pixel = pixels.begin();
    for (std::uint64_t y = 0; y < height; ++y) {
        for (std::uint64_t x = 0; x < width; ++x) {
            *pixel++ = static_cast<Gray>(white * (2 * x * downEnd + y * acrossEnd) / (3 * acrossEnd * downEnd));
        }
    }
}

/** The test chart: draws what the size has room for. */
class TestChart {
  public:
    TestChart(std::span<Gray> pixels, std::uint32_t width, std::uint32_t height)
        : pixels_(pixels)
        , canvas_(pixels, width, height)
        , pixelWidth_(width)
        , pixelHeight_(height)
        , width_(width)
        , height_(height)
        , side_(std::min(width_, height_))
        , mark_(std::floor(std::max(side_ / 16, 3.0))) {}

    void draw() {
        constexpr double leastForMarks = 12, leastForAll = 96;
        if (side_ < leastForAll) {
            ramp(pixels_, pixelWidth_, pixelHeight_);
        } else {
            flat<background>(pixels_, pixelWidth_, pixelHeight_);
            grid();
            canvas_.ring(centre(), 0.42 * side_, std::max(1.5, side_ / 340), white);
            bands();
            gratings();
            checkerboards();
            star();
            figures();
            labels();
        }
        if (side_ >= leastForMarks) {
            cornerMarks();
        }
    }

  private:
    Point centre() const { return {width_ / 2, height_ / 2}; }
    double hairline() const { return std::max(1.0, std::floor(side_ / 640)); }

    void grid() {
        const double cell = side_ / 16, thick = hairline();
        const auto lines = [&](double length, auto drawLine) {
            const int count = static_cast<int>(length / 2 / cell);
            for (const bool emphasized : {false, true}) {
                for (int i = -count; i <= count; ++i) {
                    if ((i % 4 == 0) == emphasized) {
                        drawLine(std::floor(length / 2 + i * cell - thick / 2),
                                 emphasized ? emphasizedGridLine : gridLine);
                    }
                }
            }
        };
        lines(width_, [&](double x, Gray gray) { canvas_.fill({x, 0, x + thick, height_}, gray); });
        lines(height_, [&](double y, Gray gray) { canvas_.fill({0, y, width_, y + thick}, gray); });
    }

    /** Along the edges: steps on top and on the right, smooth on the left and at the bottom. */
    void bands() {
        const double start = mark_ * 1.25;
        const auto along = [start](double position, double length) {
            return std::clamp((position - start) / (length - 2 * start), 0.0, 1.0);
        };
        const auto stepped = [](double part) { return std::floor(std::min(part * 16, 15.0)) / 15 * white; };
        const double right = width_ - start, bottom = height_ - start;
        canvas_.fillWith({start, 0, right, mark_}, [&](Point at) { return stepped(along(at.x, width_)); });
        canvas_.fillWith({start, height_ - mark_, right, height_},
                         [&](Point at) { return along(at.x, width_) * white; });
        canvas_.fillWith({0, start, mark_, bottom}, [&](Point at) { return along(at.y, height_) * white; });
        canvas_.fillWith({width_ - mark_, start, width_, bottom},
                         [&](Point at) { return stepped(along(at.y, height_)); });
    }

    /** Lines of 1, 2, 3 and 4 pixels: upright ones above the middle, lying ones below it. */
    void gratings() {
        const double group = std::floor(side_ * 0.05), length = std::floor(side_ * 0.1);
        const auto stripe = [](double position, int thickness) {
            return static_cast<int>(position) / thickness % 2 == 0 ? white : black;
        };
        const double left = std::floor(width_ / 2 - 2 * group), top = std::floor(height_ * 0.28 - length / 2);
        const double lowest = std::floor(height_ * 0.72 - length / 2);
        for (int thickness = 1; thickness <= 4; ++thickness) {
            const double x = left + (thickness - 1) * group;
            canvas_.fillWith({x, top, x + group, top + length}, [&](Point at) { return stripe(at.x - x, thickness); });
            canvas_.fillWith({x, lowest, x + group, lowest + length},
                             [&](Point at) { return stripe(at.y - lowest, thickness); });
        }
    }

    /** Of single pixels on the left of the star, of four on its right. */
    void checkerboards() {
        const double half = std::floor(side_ * 0.05);
        for (const int square : {1, 4}) {
            const double middle = std::floor(centre().x + (square == 1 ? -0.3 : 0.3) * side_);
            const Rectangle area{middle - half, centre().y - half, middle + half, centre().y + half};
            canvas_.fillWith(area, [square](Point at) {
                return (static_cast<int>(at.x) / square + static_cast<int>(at.y) / square) % 2 == 0 ? white : black;
            });
        }
    }

    void star() {
        const double radius = 0.14 * side_;
        canvas_.disc(centre(), radius * 1.06, black);
        canvas_.star(centre(), radius, white, black);
        canvas_.ring(centre(), radius * 1.12, radius * 0.03, white);
    }

    /** A figure without any symmetry in each quadrant, upright in all of them. */
    void figures() {
        const double height = std::floor(0.13 * side_), width = std::floor(height * 0.65);
        const double bar = std::max(std::floor(height / 5), 2.0);
        for (const double x : {centre().x - 0.25 * side_, centre().x + 0.25 * side_}) {
            for (const double y : {0.34 * height_, 0.66 * height_}) {
                const double left = std::floor(x - width / 2), top = std::floor(y - height / 2);
                const auto part = [&](double fromX, double fromY, double toX, double toY, double edge, Gray gray) {
                    canvas_.fill({left + fromX - edge, top + fromY - edge, left + toX + edge, top + toY + edge}, gray);
                };
                for (const auto& [edge, gray] : {std::pair{std::floor(bar / 4), black}, std::pair{0.0, white}}) {
                    part(0, 0, bar, height, edge, gray);
                    part(0, 0, width, bar, edge, gray);
                    part(0, 2 * bar, width * 0.75, 3 * bar, edge, gray);
                }
            }
        }
    }

    void labels() {
        constexpr std::string_view longest = "BOTTOM RIGHT";
        const double height = std::min(0.062 * side_, 0.3 * width_ / Canvas::textWidth(longest, 1));
        const double plateWidth = Canvas::textWidth(longest, height) + height * 1.4;
        const auto label = [&](std::string_view text, double x, double y) {
            const Point middle{std::floor(x * width_), std::floor(y * height_)};
            canvas_.fill({middle.x - plateWidth / 2, middle.y - height, middle.x + plateWidth / 2, middle.y + height},
                         black);
            canvas_.text(text, middle, height, white);
        };
        label("TOP LEFT", 0.27, 0.17);
        label("TOP RIGHT", 0.73, 0.17);
        label("BOTTOM LEFT", 0.27, 0.83);
        label("BOTTOM RIGHT", 0.73, 0.83);
        if (const double small = 0.02 * side_; small >= 8) {
            canvas_.text(std::to_string(pixelWidth_) + " X " + std::to_string(pixelHeight_),
                         {width_ / 2, height_ * 0.875}, small, white);
        }
    }

    /** Each corner has a mark of its own: square, disc, triangle, cross. */
    void cornerMarks() {
        const double right = width_ - mark_, bottom = height_ - mark_, half = mark_ / 2;
        canvas_.fill({0, 0, mark_, mark_}, white);
        canvas_.fill({right, 0, width_, mark_}, black);
        canvas_.disc({right + half, half}, half, white);
        canvas_.fill({0, bottom, mark_, height_}, black);
        canvas_.triangle({0, bottom}, {mark_, height_}, {0, height_}, white);
        canvas_.fill({right, bottom, width_, height_}, black);
        const double inset = mark_ / 6;
        canvas_.line({right + inset, bottom + inset}, {width_ - inset, height_ - inset}, mark_ / 5, white);
        canvas_.line({right + inset, height_ - inset}, {width_ - inset, bottom + inset}, mark_ / 5, white);
    }

    std::span<Gray> pixels_;
    Canvas canvas_;
    std::uint32_t pixelWidth_, pixelHeight_;
    double width_, height_, side_;
    double mark_; // side of a corner mark, thickness of the bands
};

void testChart(std::span<Gray> pixels, std::uint32_t width, std::uint32_t height) {
    TestChart(pixels, width, height).draw();
}

constexpr std::array<std::string_view, 5> chartNames = {"chart", "ramp", "black", "gray", "white"};
constexpr std::array<Draw, 5> drawings = {testChart, ramp, flat<black>, flat<2048>, flat<white>};

} // namespace

std::span<const std::string_view> names() {
    return chartNames;
}

Draw find(std::string_view name) {
    const auto* found = std::find(chartNames.begin(), chartNames.end(), name);
    return found == chartNames.end() ? nullptr : drawings[static_cast<std::size_t>(found - chartNames.begin())];
}

} // namespace qelm::virtual_board::charts
