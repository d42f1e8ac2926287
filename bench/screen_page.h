// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Something to record: a page of real text, and what happens on it. Part of benchmarks.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/geometry.h"
#include "imaging/drawing/bitmap_canvas.h"
#include "imaging/painting/painter.h"
#include "imaging/picture.h"
#include "imaging/picture_pool.h"

namespace lumivastor {

// How much of a page has words: all of it, which is as hard as a screen gets, or lines of all lengths with gaps between
// paragraphs beside a list, as an editor or a browser shows them.
enum class PageText { dense, ragged };

// A page of coloured words.
inline std::shared_ptr<const imaging::BgraPremultipliedBuffer> drawPage(int width, int height, PageText text) {
    auto page = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    imaging::BitmapCanvas drawing(*page);
    drawing.fillRect({0, 0, static_cast<double>(width), static_cast<double>(height)}, {0.97, 0.97, 0.96, 1});
    const std::vector<std::string> words = {"Aufnahme", "void",  "return",  "schneiden", "const", "Zeiger", "{",
                                            "Fenster",  "0x7f3", "Ausgabe", "über",      "=>",    "x += 1;"};
    std::size_t word = 0;
    const auto lineOf = [&](double share) {
        std::string line;
        while (static_cast<double>(line.size()) < width * share / 12) line += words[word++ * 7 % words.size()] + " ";
        return line;
    };
    const auto draw = [&](const std::string& line, double x, int y) {
        const bool isHeading = y / 24 % 12 == 0;
        drawing.drawText(line, {x, static_cast<double>(y)}, "DejaVu Sans Mono, monospace", 15,
                         isHeading ? imaging::RgbaColour{0.75, 0.2, 0.1, 1} : imaging::RgbaColour{0.1, 0.12, 0.16, 1});
    };
    for (int y = 30; y < height; y += 24) {
        const int number = y / 24;
        if (text == PageText::dense) {
            draw(lineOf(1), 24, y);
            continue;
        }
        if (number % 2 == 0) draw(lineOf(0.06 + 0.01 * (number * 5 % 7)), 24, y);
        if (number % 6 != 5) draw(lineOf(0.08 + 0.05 * (number * 11 % 9)), width * 0.2, y);
    }
    return page;
}

// The same as planes.
inline std::shared_ptr<const imaging::PlanarBuffer> planesOf(
    const std::shared_ptr<const imaging::BgraPremultipliedBuffer>& page) {
    auto planes = std::make_shared<imaging::PlanarBuffer>(page->width(), page->height(), imaging::YuvEncoding{});
    imaging::Painter(2).paint(imaging::Picture(page), planes->destination());
    return planes;
}

// A screen over a page: copied, then drawn upon.
class Screen {
  public:
    Screen(int width, int height, PageText text = PageText::dense)
        : page_(planesOf(drawPage(width, 2 * height, text))) {}

    void show(const imaging::YuvDestination& to, int scrolled) const {
        const imaging::YuvDestination& from = page_->destination();
        copyRows(from, to, 0, to.height, 0, to.width, scrolled);
    }
    // A part of the page that is scrolled by itself; all numbers even.
    void scrollPanel(const imaging::YuvDestination& to, int left, int top, int right, int bottom, int lines) const {
        copyRows(page_->destination(), to, top, bottom, left, right, lines);
    }
    static void box(const imaging::YuvDestination& to, int left, int top, int right, int bottom, std::uint8_t luma) {
        for (int y = std::max(0, top); y < std::min(bottom, to.height); ++y) {
            for (int x = std::max(0, left); x < std::min(right, to.width); ++x) to.luma[y * to.lumaStride + x] = luma;
        }
    }
    // An arrow with a soft rim, about 32 by 48.
    static void pointer(const imaging::YuvDestination& to, Point at) {
        for (int y = 0; y < 48; ++y) {
            for (int x = 0; x < 32; ++x) {
                const double inside = std::min({x - at.x + std::floor(at.x), y * 0.66 - x, 40 - y - x * 0.4});
                if (inside < 0) continue;
                blend(to, static_cast<int>(at.x) + x, static_cast<int>(at.y) + y, inside < 2 ? 235 : 20,
                      std::min(1.0, inside));
            }
        }
    }
    static void ring(const imaging::YuvDestination& to, Point at, double radius, double strength) {
        const int reach = static_cast<int>(radius) + 6;
        for (int y = -reach; y <= reach; ++y) {
            for (int x = -reach; x <= reach; ++x) {
                const double off = std::abs(std::sqrt(x * x + y * y) - radius);
                if (off >= 4) continue;
                blend(to, static_cast<int>(at.x) + x, static_cast<int>(at.y) + y, 110, strength * (1 - off / 4));
            }
        }
    }
    // A camera's picture with noise in a circle.
    static void bubble(const imaging::YuvDestination& to, int left, int top, int size, unsigned number) {
        std::mt19937 random(number);
        std::normal_distribution<double> noise(0, 1.7);
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const double dx = x - size / 2.0;
                const double dy = y - size / 2.0;
                if (dx * dx + dy * dy > size * size / 4.0) continue;
                const double value =
                    120 + 50 * std::sin(x * 0.021 + number * 0.03) + 40 * std::cos(y * 0.017) + noise(random);
                to.luma[(top + y) * to.lumaStride + left + x] =
                    static_cast<std::uint8_t>(std::clamp(std::lround(value), 16L, 235L));
            }
        }
    }

  private:
    static void copyRows(const imaging::YuvDestination& from, const imaging::YuvDestination& to, int top, int bottom,
                         int left, int right, int lines) {
        for (int y = top; y < bottom; ++y) {
            std::copy_n(from.luma + (y + lines) * from.lumaStride + left, right - left,
                        to.luma + y * to.lumaStride + left);
        }
        for (int y = top / 2; y < bottom / 2; ++y) {
            for (const auto& [source, target] : {std::pair{from.cb, to.cb}, std::pair{from.cr, to.cr}}) {
                std::copy_n(source + (y + lines / 2) * from.chromaStride + left / 2, (right - left) / 2,
                            target + y * to.chromaStride + left / 2);
            }
        }
    }
    static void blend(const imaging::YuvDestination& to, int x, int y, double luma, double share) {
        if (x < 0 || y < 0 || x >= to.width || y >= to.height) return;
        std::uint8_t& sample = to.luma[y * to.lumaStride + x];
        sample = static_cast<std::uint8_t>(std::lround(sample + share * (luma - sample)));
    }

    std::shared_ptr<const imaging::PlanarBuffer> page_;
};

}  // namespace lumivastor
