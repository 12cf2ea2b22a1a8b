#include "report/Plot.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <vector>

namespace bench {

namespace {

constexpr int width = 860;
constexpr int plotLeft = 250;
constexpr int plotRight = width - 70;
constexpr int lineHeight = 17;
constexpr int titleHeight = 26;

class Scale {
public:
    explicit Scale(const Section& section) {
        for (const TimedRow& row : section.rows) {
            for (const Time& time : row.times) {
                low_ = std::min(low_, std::floor(std::log10(time.ratio)));
                high_ = std::max(high_, std::ceil(std::log10(time.ratio)));
            }
        }
        high_ = std::max(high_, low_ + 1);
    }

    double x(double ratio) const {
        return plotLeft + (std::log10(ratio) - low_) / (high_ - low_) * (plotRight - plotLeft);
    }

    std::vector<double> marks() const {
        std::vector<double> result;
        for (double exponent = low_; exponent <= high_; ++exponent) {
            result.push_back(std::pow(10, exponent));
        }
        return result;
    }

private:
    double low_ = 0;
    double high_ = 0;
};

int heightOf(const Section& section) {
    int lines = 2;
    for (const TimedRow& row : section.rows) {
        lines += static_cast<int>(row.times.size());
    }
    return titleHeight + lines * lineHeight +
           static_cast<int>(section.rows.size()) * (titleHeight - lineHeight);
}

void drawText(std::ostream& out, double x, double y, const char* style, const std::string& text) {
    out << "<text x=\"" << x << "\" y=\"" << y << "\" " << style << ">" << text << "</text>\n";
}

std::string timesText(double ratio) {
    std::ostringstream text;
    text << std::setprecision(ratio < 1 ? 2 : ratio < 1000 ? 3 : 5) << ratio << "×";
    return text.str();
}

void drawGrid(std::ostream& out, const Scale& scale, int height) {
    for (const double mark : scale.marks()) {
        const double x = scale.x(mark);
        out << "<line x1=\"" << x << "\" x2=\"" << x << "\" y1=\"" << titleHeight << "\" y2=\""
            << height - lineHeight << "\" stroke=\"" << (mark == 1 ? "#c0392b" : "#ddd")
            << "\"/>\n";
        drawText(out, x, height - 4, "text-anchor=\"middle\" fill=\"#666\"", timesText(mark));
    }
}

void drawBar(std::ostream& out, const Scale& scale, int y, const Time& time) {
    const double end = scale.x(time.ratio);
    const double left = std::min(end, scale.x(1));
    const double right = std::max(end, scale.x(1));
    out << "<rect x=\"" << left << "\" y=\"" << y - 11 << "\" width=\"" << right - left
        << "\" height=\"13\" fill=\"" << (time.kind == "mark" ? "#999" : "#2f6f9f") << "\"/>\n";
    drawText(out, plotLeft - 8, y, "text-anchor=\"end\"", time.contestant);
    drawText(out, right + 4, y, "fill=\"#333\"", timesText(time.ratio));
}

}  // namespace

void plot(std::ostream& out, const Section& section) {
    const Scale scale(section);
    const int height = heightOf(section);
    out << std::fixed << std::setprecision(1)
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    drawGrid(out, scale, height);
    int y = 16;
    const std::string ours = section.rows.front().times.front().contestant;
    drawText(out, 8, y, "font-weight=\"bold\"",
             section.name + ": time as a multiple of that of " + ours + ", the red line");
    y += 2;
    for (const TimedRow& row : section.rows) {
        y += titleHeight;
        drawText(out, 8, y, "font-weight=\"bold\" fill=\"#555\"", row.name);
        for (const Time& time : row.times) {
            if (time.kind != "ours") {
                y += lineHeight;
                drawBar(out, scale, y, time);
            }
        }
    }
    out << "</svg>\n";
}

}  // namespace bench
