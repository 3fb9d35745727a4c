#include "timing_diagram.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <string_view>
#include <utility>

namespace qelm::tool {
namespace {

// In pixels.
constexpr double labelWidth = 150;
constexpr double plotWidth = 1000;
constexpr double margin = 24;
constexpr double titleLineHeight = 20;
constexpr std::size_t titleLineLetters = 130;
constexpr double rowHeight = 34;
constexpr double levelHeight = 20;
constexpr double axisHeight = 40;
constexpr double crossSize = 4;
constexpr double narrowest = 1.0; // what is closer together than this is drawn as one block

constexpr std::string_view ink = "#1f4e79", paper = "#ffffff", grid = "#e3e8ee", text = "#2b2b2b", fill = "#cfe0f0",
                           warning = "#b3261e";

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

/** What is to be seen of a signal between two moments: its value at the first one, and what changes until the last. */
Signal visible(const Signal& signal, std::uint64_t from, std::uint64_t to) {
    Signal part{signal.name, {{from, signal.changes.front().value}}, signal.isLevel};
    for (const SignalChange& change : signal.changes) {
        if (change.nanoseconds <= from) {
            part.changes.front().value = change.value;
        } else if (change.nanoseconds <= to) {
            part.changes.push_back(change);
        }
    }
    return part;
}

Marks visible(const Marks& marks, std::uint64_t from, std::uint64_t to) {
    Marks part{marks.name, {}};
    std::ranges::copy_if(marks.nanoseconds, std::back_inserter(part.nanoseconds),
                         [=](std::uint64_t moment) { return from <= moment && moment <= to; });
    return part;
}

class Drawing {
  public:
    Drawing(const TimingDiagram& diagram, std::size_t rows)
        : diagram_(diagram)
        , titleLines_(linesOf(diagram.title))
        , start_(static_cast<double>(diagram.from))
        , span_(std::max(1.0, static_cast<double>(diagram.to - diagram.from)))
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
                 << "<title>" << escaped(diagram_.title) << "</title>\n"
                 << "<rect width='100%' height='100%' fill='" << paper << "'/>\n"
                 << titleText() << svg_.str() << "</svg>\n";
        return document.str();
    }

    void axis() {
        const TimeUnit unit = unitFor(span_);
        const double step = axisStep(span_ / unit.nanoseconds);
        const double first = (start_ - static_cast<double>(diagram_.origin)) / unit.nanoseconds;
        const double last = first + span_ / unit.nanoseconds;
        bool isFirst = true;
        for (double tick = std::ceil(first / step - 1e-9) * step; tick <= last + step * 1e-9; tick += step) {
            const double at = leftEdge() + (tick - first) * unit.nanoseconds / span_ * plotWidth;
            svg_ << "<line x1='" << at << "' x2='" << at << "' y1='" << top_ - 6 << "' y2='" << bottom_ + 4
                 << "' stroke='" << grid << "'/>\n";
            std::ostringstream label;
            label << std::setprecision(12) << std::round(tick / step) * step + 0.0 << (isFirst ? " " : "")
                  << (isFirst ? unit.name : "");
            svg_ << "<text x='" << at << "' y='" << bottom_ + 20 << "' text-anchor='middle' fill='" << text << "'>"
                 << label.str() << "</text>\n";
            isFirst = false;
        }
    }

    void row(std::size_t index, const Signal& signal) {
        const double base = baseOf(index);
        label(signal.name, base, text);
        const std::uint32_t top =
            std::max(1U, std::ranges::max_element(signal.changes, {}, &SignalChange::value)->value);
        trace(signal, base, top);
        if (!signal.isLevel) {
            numbers(signal, base, top);
        }
    }

    void row(std::size_t index, const Marks& marks) {
        const double base = baseOf(index);
        label(marks.name, base, warning);
        double free = 0;
        for (const std::uint64_t moment : marks.nanoseconds) {
            const double at = x(moment), middle = base - levelHeight / 2;
            if (at < free) { // it would hide in the one before
                continue;
            }
            free = at + narrowest;
            svg_ << "<line x1='" << at << "' x2='" << at << "' y1='" << top_ << "' y2='" << middle << "' stroke='"
                 << warning << "' stroke-width='0.8' stroke-dasharray='2 3'/>\n"
                 << "<path d='M" << at - crossSize << ' ' << middle - crossSize << 'L' << at + crossSize << ' '
                 << middle + crossSize << 'M' << at - crossSize << ' ' << middle + crossSize << 'L' << at + crossSize
                 << ' ' << middle - crossSize << "' stroke='" << warning << "' stroke-width='2'/>\n";
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
    void label(const std::string& name, double base, std::string_view colour) {
        svg_ << "<text x='" << leftEdge() - 12 << "' y='" << base - 5 << "' text-anchor='end' fill='" << colour << "'>"
             << escaped(name) << "</text>\n";
    }
    double baseOf(std::size_t index) const { return top_ + (static_cast<double>(index) + 1) * rowHeight - 7; }
    double x(std::uint64_t nanoseconds) const {
        return leftEdge() + (static_cast<double>(nanoseconds) - start_) / span_ * plotWidth;
    }
    static double leftEdge() { return labelWidth + margin; }
    static double rightEdge() { return leftEdge() + plotWidth; }

    /** The line of a signal; where changes lie too close together to be told apart, a block. */
    void trace(const Signal& signal, double base, std::uint32_t top) {
        const auto y = [&](std::uint32_t value) { return base - levelHeight * value / top; };
        std::ostringstream line;
        line << std::fixed << std::setprecision(2) << 'M' << x(signal.changes.front().nanoseconds) << ' '
             << y(signal.changes.front().value);
        for (std::size_t i = 1; i < signal.changes.size();) {
            std::size_t last = i;
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
        for (std::size_t i = 0; i < signal.changes.size(); ++i) {
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

    const TimingDiagram& diagram_;
    std::vector<std::string> titleLines_;
    double start_, span_, top_, bottom_;
    std::ostringstream svg_;
};

} // namespace

std::string draw(const TimingDiagram& diagram) {
    std::vector<Marks> marks;
    for (const Marks& all : diagram.marks) {
        if (Marks part = visible(all, diagram.from, diagram.to); !part.nanoseconds.empty()) {
            marks.push_back(std::move(part));
        }
    }
    Drawing drawing(diagram, diagram.signals.size() + marks.size());
    drawing.axis();
    std::size_t row = 0;
    for (const Signal& signal : diagram.signals) {
        drawing.row(row++, visible(signal, diagram.from, diagram.to));
    }
    for (const Marks& part : marks) {
        drawing.row(row++, part);
    }
    return drawing.finish();
}

} // namespace qelm::tool
