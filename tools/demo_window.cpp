// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo_window.h"

#include <array>
#include <cstdint>
#include <vector>

#include "imaging/drawing/bitmap_canvas.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor {
namespace {

constexpr const char* kFont = "DejaVu Sans, sans-serif";
constexpr double kSidebarWidth = 260;
constexpr double kToolbarHeight = 64;

constexpr imaging::RgbaColour kPaper{0.985, 0.985, 0.98, 1};
constexpr imaging::RgbaColour kInk{0.13, 0.15, 0.19, 1};
constexpr imaging::RgbaColour kQuiet{0.45, 0.48, 0.53, 1};
constexpr imaging::RgbaColour kSidebar{0.925, 0.935, 0.95, 1};
constexpr imaging::RgbaColour kToolbar{0.89, 0.905, 0.925, 1};
constexpr imaging::RgbaColour kAccent{0.14, 0.42, 0.82, 1};
constexpr imaging::RgbaColour kDone{0.16, 0.58, 0.36, 1};
constexpr imaging::RgbaColour kMarker{1.0, 0.9, 0.45, 1};
constexpr imaging::RgbaColour kWhite{1, 1, 1, 1};

constexpr std::array<const char*, 5> kDocuments = {"Einleitung", "Aufnahme planen", "Ton und Licht", "Schnitt",
                                                   "Veröffentlichen"};
constexpr std::array<const char*, 8> kSentences = {
    "Ein gutes Lernvideo zeigt einen Weg und keine Sammlung von Knöpfen.",
    "Schreibe zuerst auf, was jemand danach können soll.",
    "Jeder Abschnitt beantwortet eine einzige Frage.",
    "Sprich langsamer, als es dir natürlich vorkommt.",
    "Lass den Zeiger ruhen, während du etwas erklärst.",
    "Was nichts beiträgt, fällt beim Schnitt weg.",
    "Zeige das Ergebnis, bevor du den Weg dorthin gehst.",
    "Prüfe am Ende, ob der Ton auch leise verständlich bleibt."};

void drawButton(imaging::BitmapCanvas& canvas, const Rect& rect, const std::string& text,
                const imaging::RgbaColour& colour) {
    canvas.fillRect(rect, colour);
    canvas.drawText(text, {rect.x + 18, rect.y + 26}, kFont, 15, kWhite);
}

}  // namespace

DemoWindow::DemoWindow(const std::string& displayName)
    : window_(displayName, {.title = "Notizbuch – Lernvideos",
                            .className = "Notizbuch",
                            .x = 320,
                            .y = 160,
                            .width = kWidth,
                            .height = kHeight,
                            .color = 0xfafaf8}) {
    draw();
}

Rect DemoWindow::saveButton() {
    return {kWidth - 160, 12, 136, 40};
}

Rect DemoWindow::markButton() {
    return {kWidth - 330, 12, 150, 40};
}

Rect DemoWindow::searchField() {
    return {kSidebarWidth + 24, 14, 360, 36};
}

Rect DemoWindow::document(int index) {
    return {12, kToolbarHeight + 20 + index * 46.0, kSidebarWidth - 24, 40};
}

void DemoWindow::showDocument(int index) {
    document_ = index;
    scrolled_ = 0;
    marked_ = false;
    draw();
}

void DemoWindow::scrollTo(int pixels) {
    scrolled_ = pixels;
    draw();
}

void DemoWindow::typeInField(const std::string& text) {
    search_ = text;
    draw();
}

void DemoWindow::setSaved(bool saved) {
    saved_ = saved;
    draw();
}

void DemoWindow::setMarked(bool marked) {
    marked_ = marked;
    draw();
}

Point DemoWindow::onScreen(Point inWindow) const {
    return {window_.screenX() + inWindow.x, window_.screenY() + inWindow.y};
}

void DemoWindow::draw() {
    imaging::BgraPremultipliedBuffer pixels(kWidth, kHeight);
    imaging::BitmapCanvas canvas(pixels);
    canvas.fillRect({0, 0, kWidth, kHeight}, kPaper);

    const double left = kSidebarWidth + 64;
    const auto chosen = static_cast<std::size_t>(document_);
    canvas.drawText(kDocuments[chosen], {left, 140.0 - scrolled_}, kFont, 30, kInk);
    for (std::size_t i = 0; i < 30; ++i) {
        const double y = 192.0 + 34.0 * static_cast<double>(i) - scrolled_;
        if (marked_ && i % 5 == 2) canvas.fillRect({left - 6, y - 19, 620, 27}, kMarker);
        canvas.drawText(kSentences[(i * 3 + chosen) % kSentences.size()], {left, y}, kFont, 16, kInk);
    }

    canvas.fillRect({0, kToolbarHeight, kSidebarWidth, kHeight - kToolbarHeight}, kSidebar);
    for (std::size_t i = 0; i < kDocuments.size(); ++i) {
        const Rect row = document(static_cast<int>(i));
        if (i == chosen) canvas.fillRect(row, kAccent);
        canvas.drawText(kDocuments[i], {row.x + 16, row.y + 26}, kFont, 16, i == chosen ? kWhite : kInk);
    }

    canvas.fillRect({0, 0, kWidth, kToolbarHeight}, kToolbar);
    canvas.drawText("Notizbuch", {24, 40}, kFont, 20, kInk);
    const Rect field = searchField();
    canvas.fillRect(field, kWhite);
    canvas.drawText(search_.empty() ? "Suchen" : search_, {field.x + 12, field.y + 24}, kFont, 16,
                    search_.empty() ? kQuiet : kInk);
    drawButton(canvas, markButton(), marked_ ? "Markiert" : "Markieren", marked_ ? kDone : kAccent);
    drawButton(canvas, saveButton(), saved_ ? "Gesichert" : "Sichern", saved_ ? kDone : kAccent);

    std::vector<std::uint32_t> shown;
    shown.reserve(static_cast<std::size_t>(kWidth) * kHeight);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const std::uint8_t* pixel = pixels.pixel(x, y);
            shown.push_back((static_cast<std::uint32_t>(pixel[2]) << 16) | (static_cast<std::uint32_t>(pixel[1]) << 8) |
                            pixel[0]);
        }
    }
    window_.drawPixels(shown);
}

}  // namespace lumivastor
