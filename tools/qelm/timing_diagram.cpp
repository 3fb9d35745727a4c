#include "timing_diagram.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace qelm::tool {
namespace {

// In pixels.
constexpr double labelWidth = 150;
constexpr double plotWidth = 1000;
constexpr double margin = 24;
constexpr double titleLineHeight = 20;
constexpr size_t titleLineLetters = 130;
constexpr double rowHeight = 34;
constexpr double levelHeight = 20;
constexpr double axisHeight = 40;
constexpr double narrowest = 1.0; // what is closer together than this is drawn as one block

constexpr std::string_view ink = "#1f4e79", paper = "#ffffff", grid = "#e3e8ee", text = "#2b2b2b", fill = "#cfe0f0";

std::string escaped(const std::string& plain) {
    std::string result;
    for (const char letter : plain) {
        switch (letter) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\'':
            result += "&apos;";
            break;
        default:
            result += letter;
        }
    }
    return result;
}

/** Broken at blanks, where the picture ends. */
std::vector<std::string> linesOf(const std::string& title) {
    std::vector<std::string> lines(1);
    std::istringstream words(title);
    for (std::string word; words >> word;) {
        if (!lines.back().empty() && lines.back().size() + 1 + word.size() > titleLineLetters) {
            lines.emplace_back();
        }
        lines.back() += (lines.back().empty() ? "" : " ") + word;
    }
    return lines;
}

/** A step of the time axis: 1, 2 or 5 times a power of ten, so that some ten steps are to be seen. */
double axisStep(double span) {
    const double power = std::pow(10.0, std::floor(std::log10(span / 10)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (span / (factor * power) <= 12) {
            return factor * power;
        }
    }
    return 10 * power;
}

struct TimeUnit {
    double nanoseconds;
    const char* name;
};

TimeUnit unitFor(double span) {
    if (span >= 2e9) {
        return {1e9, "s"};
    }
    if (span >= 2e6) {
        return {1e6, "ms"};
    }
    return span >= 2e3 ? TimeUnit{1e3, "\u00b5s"} : TimeUnit{1, "ns"};
}

class Drawing {
  public:
    Drawing(const std::string& title, std::uint64_t start, std::uint64_t end, size_t rows)
        : title_(title)
        , titleLines_(linesOf(title))
        , start_(static_cast<double>(start))
        , span_(std::max(1.0, static_cast<double>(end - start)))
        , top_(static_cast<double>(titleLines_.size()) * titleLineHeight + margin)
        , bottom_(top_ + static_cast<double>(rows) * rowHeight) {
        svg_ << std::fixed << std::setprecision(2);
    }

    std::string finish() {
        const double width = labelWidth + plotWidth + 2 * margin;
        const double height = bottom_ + axisHeight;
        std::ostringstream document;
        document << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << width << ' ' << height << "' width='"
                 << width << "' height='" << height << "' font-family='sans-serif' font-size='13'>\n"
                 << "<title>" << escaped(title_) << "</title>\n"
                 << "<rect width='100%' height='100%' fill='" << paper << "'/>\n"
                 << titleText() << svg_.str() << "</svg>\n";
        return document.str();
    }

    void axis() {
        const TimeUnit unit = unitFor(span_);
        const double step = axisStep(span_ / unit.nanoseconds);
        for (int i = 0; i * step * unit.nanoseconds <= span_; ++i) {
            const double at = labelWidth + margin + i * step * unit.nanoseconds / span_ * plotWidth;
            svg_ << "<line x1='" << at << "' x2='" << at << "' y1='" << top_ - 6 << "' y2='" << bottom_ + 4
                 << "' stroke='" << grid << "'/>\n";
            std::ostringstream label;
            label << i * step << (i == 0 ? std::string(" ") + unit.name : "");
            svg_ << "<text x='" << at << "' y='" << bottom_ + 20 << "' text-anchor='middle' fill='" << text << "'>"
                 << label.str() << "</text>\n";
        }
    }

    void row(size_t index, const Signal& signal) {
        const double base = top_ + (static_cast<double>(index) + 1) * rowHeight - 7;
        svg_ << "<text x='" << labelWidth + margin - 12 << "' y='" << base - 5 << "' text-anchor='end' fill='" << text
             << "'>" << escaped(signal.name) << "</text>\n";
        const std::uint32_t top =
            std::max(1U, std::ranges::max_element(signal.changes, {}, &SignalChange::value)->value);
        trace(signal, base, top);
        if (!signal.isLevel) {
            numbers(signal, base, top);
        }
    }

  private:
    std::string titleText() const {
        std::ostringstream lines;
        double y = titleLineHeight;
        for (const std::string& line : titleLines_) {
            lines << "<text x='" << margin << "' y='" << y << "' fill='" << text << "'>" << escaped(line)
                  << "</text>\n";
            y += titleLineHeight;
        }
        return lines.str();
    }
    double x(std::uint64_t nanoseconds) const {
        return labelWidth + margin + (static_cast<double>(nanoseconds) - start_) / span_ * plotWidth;
    }
    double rightEdge() const { return labelWidth + margin + plotWidth; }

    /** The line of a signal; where changes lie too close together to be told apart, a block. */
    void trace(const Signal& signal, double base, std::uint32_t top) {
        const auto y = [&](std::uint32_t value) { return base - levelHeight * value / top; };
        std::ostringstream line;
        line << std::fixed << std::setprecision(2) << 'M' << x(signal.changes.front().nanoseconds) << ' '
             << y(signal.changes.front().value);
        for (size_t i = 1; i < signal.changes.size();) {
            size_t last = i;
            std::uint32_t lowest = std::min(signal.changes[i].value, signal.changes[i - 1].value);
            std::uint32_t highest = std::max(signal.changes[i].value, signal.changes[i - 1].value);
            while (last + 1 < signal.changes.size() &&
                   x(signal.changes[last + 1].nanoseconds) - x(signal.changes[last].nanoseconds) < narrowest) {
                ++last;
                lowest = std::min(lowest, signal.changes[last].value);
                highest = std::max(highest, signal.changes[last].value);
            }
            const double from = x(signal.changes[i].nanoseconds);
            const double to = x(signal.changes[last].nanoseconds);
            if (last > i) {
                svg_ << "<rect x='" << from << "' y='" << y(highest) << "' width='" << std::max(narrowest, to - from)
                     << "' height='" << y(lowest) - y(highest) << "' fill='" << (last - i > 2 ? fill : ink)
                     << "' stroke='" << ink << "' stroke-width='0.8'/>\n";
            }
            line << 'H' << from << 'V' << y(last > i ? lowest : signal.changes[i].value);
            line << 'H' << to << 'V' << y(signal.changes[last].value);
            i = last + 1;
        }
        line << 'H' << rightEdge();
        svg_ << "<path d='" << line.str() << "' fill='none' stroke='" << ink << "' stroke-width='1.6'/>\n";
    }

    void numbers(const Signal& signal, double base, std::uint32_t top) {
        double free = 0;
        for (size_t i = 0; i < signal.changes.size(); ++i) {
            const double from = x(signal.changes[i].nanoseconds);
            const double to = i + 1 < signal.changes.size() ? x(signal.changes[i + 1].nanoseconds) : rightEdge();
            const std::uint32_t value = signal.changes[i].value;
            const std::string label = std::to_string(value);
            const double width = 7.0 * static_cast<double>(label.size());
            if (to - from >= width + 4 && from >= free) {
                const double line = base - levelHeight * value / top;
                const bool fitsBelow = base - line >= 12;
                svg_ << "<text x='" << from + 3 << "' y='" << (fitsBelow ? line + 11 : line - 3)
                     << "' font-size='10' fill='" << text << "'>" << label << "</text>\n";
                free = from + width + 4;
            }
        }
    }

    const std::string& title_;
    std::vector<std::string> titleLines_;
    double start_, span_, top_, bottom_;
    std::ostringstream svg_;
};

} // namespace

std::string timingDiagram(const std::string& title, const std::vector<Signal>& signals, std::uint64_t start,
                          std::uint64_t end) {
    Drawing drawing(title, start, end, signals.size());
    drawing.axis();
    for (size_t i = 0; i < signals.size(); ++i) {
        drawing.row(i, signals[i]);
    }
    return drawing.finish();
}

} // namespace qelm::tool
