#include "model/camera/canvas.h"

#include <array>
#include <numbers>

namespace qelm::virtual_board {
namespace {

double dot(Point a, Point b) {
    return a.x * b.x + a.y * b.y;
}

double cross(Point a, Point b) {
    return a.x * b.y - a.y * b.x;
}

Point operator-(Point a, Point b) {
    return {a.x - b.x, a.y - b.y};
}

double distance(Point a, Point b) {
    return std::sqrt(dot(a - b, a - b));
}

double distanceToSegment(Point at, Point from, Point to) {
    const Point along = to - from;
    const double length = dot(along, along);
    const double part = length > 0 ? std::clamp(dot(at - from, along) / length, 0.0, 1.0) : 0.0;
    return distance(at, {from.x + part * along.x, from.y + part * along.y});
}

/** How far a shape covers a pixel whose centre lies so far inside its edge. */
double coverageInside(double depth) {
    return depth + 0.5;
}

Rectangle around(Point centre, double radius) {
    return {centre.x - radius - 1, centre.y - radius - 1, centre.x + radius + 1, centre.y + radius + 1};
}

/**
 * A character as strokes on a grid of 12 rows, y downward: each point is a column and a row in hexadecimal, a blank
 * draws on, a comma lifts the pen.
 */
struct Glyph {
    char character;
    unsigned columns;
    std::string_view strokes;
};

constexpr unsigned glyphRows = 12;
constexpr unsigned glyphGap = 4;
constexpr unsigned blankColumns = 4;

constexpr Glyph glyphs[] = {
    {'0', 7, "20 50 72 7A 5C 2C 0A 02 20"},
    {'1', 3, "02 30 3C"},
    {'2', 7, "02 20 50 72 74 0C 7C"},
    {'3', 7, "01 20 50 72 74 56 26,56 78 7A 5C 2C 0B"},
    {'4', 8, "6C 60 08 88"},
    {'5', 7, "70 10 05 55 77 7A 5C 2C 0B"},
    {'6', 7, "60 30 03 0A 2C 5C 7A 78 56 26 08"},
    {'7', 7, "00 70 2C"},
    {'8', 7, "26 04 02 20 50 72 74 56 26 08 0A 2C 5C 7A 78 56"},
    {'9', 7, "1C 4C 79 72 50 20 02 04 26 56 74"},
    {'B', 7, "06 56 74 72 50 00 0C 5C 7A 78 56"},
    {'E', 7, "70 00 0C 7C,06 56"},
    {'F', 7, "70 00 0C,06 56"},
    {'G', 8, "82 60 20 02 0A 2C 6C 8A 87 57"},
    {'H', 7, "00 0C,70 7C,06 76"},
    {'I', 0, "00 0C"},
    {'L', 6, "00 0C 6C"},
    {'M', 8, "0C 00 47 80 8C"},
    {'O', 8, "20 60 82 8A 6C 2C 0A 02 20"},
    {'P', 7, "0C 00 50 72 75 57 07"},
    {'R', 7, "0C 00 50 72 75 57 07,47 7C"},
    {'T', 8, "00 80,40 4C"},
    {'X', 7, "00 7C,70 0C"},
};

const Glyph* glyphOf(char character) {
    const auto* found = std::find_if(std::begin(glyphs), std::end(glyphs),
                                     [character](const Glyph& glyph) { return glyph.character == character; });
    return found == std::end(glyphs) ? nullptr : found;
}

unsigned advanceOf(char character) {
    const Glyph* glyph = glyphOf(character);
    return (glyph != nullptr ? glyph->columns : blankColumns) + glyphGap;
}

double gridCoordinate(char digit) {
    return digit <= '9' ? digit - '0' : digit - 'A' + 10;
}

} // namespace

void Canvas::fill(const Rectangle& area, Gray gray) {
    fillWith(area, [gray](Point) { return gray; });
}

void Canvas::disc(Point centre, double radius, Gray gray) {
    paint(
        around(centre, radius), [gray](Point) { return gray; },
        [=](Point at) { return coverageInside(radius - distance(at, centre)); });
}

void Canvas::ring(Point centre, double radius, double thickness, Gray gray) {
    paint(
        around(centre, radius + thickness / 2), [gray](Point) { return gray; },
        [=](Point at) { return coverageInside(thickness / 2 - std::fabs(distance(at, centre) - radius)); });
}

void Canvas::triangle(Point a, Point b, Point c, Gray gray) {
    const auto depth = [](Point at, Point from, Point to) { return cross(to - from, at - from) / distance(from, to); };
    const double sense = cross(b - a, c - a) < 0 ? -1 : 1;
    const auto [left, right] = std::minmax({a.x, b.x, c.x});
    const auto [top, bottom] = std::minmax({a.y, b.y, c.y});
    paint(
        {left, top, right, bottom}, [gray](Point) { return gray; },
        [=](Point at) {
            return coverageInside(
                std::min({sense * depth(at, a, b), sense * depth(at, b, c), sense * depth(at, c, a)}));
        });
}

void Canvas::line(Point from, Point to, double thickness, Gray gray) {
    const Rectangle start = around(from, thickness / 2), end = around(to, thickness / 2);
    paint(
        {std::min(start.left, end.left), std::min(start.top, end.top), std::max(start.right, end.right),
         std::max(start.bottom, end.bottom)},
        [gray](Point) { return gray; },
        [=](Point at) { return coverageInside(thickness / 2 - distanceToSegment(at, from, to)); });
}

void Canvas::star(Point centre, double radius, Gray first, Gray second) {
    // The edges between the sectors of one octant, by turning a direction; libraries differ in their sine and cosine.
    constexpr std::size_t sectors = 8; // in an octant
    std::array<Point, sectors + 1> edges{};
    double cosine = std::numbers::sqrt2 / 2; // of an eighth, halved down to an eighth of an eighth
    for (std::size_t parts = 1; parts < sectors; parts *= 2) {
        cosine = std::sqrt((1 + cosine) / 2);
    }
    const double sine = std::sqrt(1 - cosine * cosine);
    edges[0] = {1, 0};
    for (std::size_t i = 1; i <= sectors; ++i) {
        edges[i] = {edges[i - 1].x * cosine - edges[i - 1].y * sine, edges[i - 1].x * sine + edges[i - 1].y * cosine};
    }
    const auto gray = [=, &edges](Point at) {
        Point from = at - centre;
        // Opposite sides of an axis or a diagonal differ, so that the star is not its own mirror image.
        bool swapped = (from.x < 0) != (from.y < 0);
        from = {std::fabs(from.x), std::fabs(from.y)};
        if (from.y > from.x) {
            std::swap(from.x, from.y);
            swapped = !swapped;
        }
        std::size_t sector = 0;
        while (sector + 1 < sectors && cross(edges[sector + 1], from) >= 0) {
            ++sector;
        }
        const double depth = std::min(cross(edges[sector], from), -cross(edges[sector + 1], from));
        const double own = std::clamp(coverageInside(depth), 0.0, 1.0);
        const bool isFirst = (sector % 2 == 0) != swapped;
        return isFirst ? first * own + second * (1 - own) : second * own + first * (1 - own);
    };
    paint(around(centre, radius), gray, [=](Point at) { return coverageInside(radius - distance(at, centre)); });
}

double Canvas::textWidth(std::string_view text, double height) {
    unsigned columns = 0;
    for (const char character : text) {
        columns += advanceOf(character);
    }
    return columns > glyphGap ? height * (columns - glyphGap) / glyphRows : 0;
}

void Canvas::text(std::string_view text, Point centre, double height, Gray gray) {
    const double unit = height / glyphRows;
    Point corner{centre.x - textWidth(text, height) / 2, centre.y - height / 2};
    for (const char character : text) {
        const Glyph* glyph = glyphOf(character);
        const std::string_view strokes = glyph != nullptr ? glyph->strokes : std::string_view();
        Point pen{};
        for (std::size_t i = 0; i + 1 < strokes.size(); i += 3) {
            const Point next{corner.x + unit * gridCoordinate(strokes[i]),
                             corner.y + unit * gridCoordinate(strokes[i + 1])};
            if (i > 0 && strokes[i - 1] == ' ') {
                line(pen, next, height / 6.5, gray);
            }
            pen = next;
        }
        corner.x += unit * advanceOf(character);
    }
}

} // namespace qelm::virtual_board
