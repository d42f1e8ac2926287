// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_choice.h"

#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "base/byte_text.h"
#include "base/formatted.h"
#include "base/recorder_error.h"
#include "base/saturated.h"
#include "editor/session/labels.h"
#include "render/export_plan.h"
#include "render/film_target.h"

namespace lumivastor::editor {

namespace {

using render::FilmForm;

constexpr FormName kForms[] = {
    {FilmForm::mp4, "MP4 (H.264 und AAC)"},         {FilmForm::mov, "MOV (H.264 und AAC)"},
    {FilmForm::webm, "WebM (VP9 und Opus)"},        {FilmForm::webp, "WebP, bewegtes Bild ohne Ton"},
    {FilmForm::gif, "GIF, bewegtes Bild ohne Ton"},
};

std::filesystem::path recordingName(const std::filesystem::path& folder) {
    return folder.has_filename() ? folder.filename() : folder.parent_path().filename();
}

std::uint64_t bytesOf(double number) {
    return static_cast<std::uint64_t>(saturated<std::int64_t>(std::max(number, 0.0)));
}

PixelSize sizeOf(const ExportChoice& choice, const FilmFacts& film) {
    if (render::isAnimation(choice.form)) {
        return render::animationSize(choice.animation, render::exportCanvas(film.height));
    }
    return render::exportCanvas(choice.height);
}

}  // namespace

std::span<const FormName> formNames() {
    return kForms;
}

ExportChoice firstChoice(const model::ProjectSettings& settings, const FilmFacts& film,
                         const std::filesystem::path& lastFolder) {
    ExportChoice choice;
    choice.form = render::filmForm(settings.exportFormat);
    choice.height = settings.exportHeight;
    std::error_code ignored;
    const bool hasLast = !lastFolder.empty() && std::filesystem::is_directory(lastFolder, ignored);
    choice.file = withExtension((hasLast ? lastFolder : film.folder) / recordingName(film.folder), choice.form);
    choice.chapters = film.hasMarks;
    choice.animation.to = std::min(film.seconds, render::AnimationOptions::kMaximumSeconds);
    return choice;
}

bool offersChapters(const ExportChoice& choice, const FilmFacts& film) {
    return film.hasMarks && (choice.form == render::FilmForm::mp4 || choice.form == render::FilmForm::mov);
}

ExportChoice withForm(ExportChoice choice, FilmForm form) {
    if (render::formOf(choice.file) == choice.form) choice.file.replace_extension();
    choice.form = form;
    choice.file = withExtension(std::move(choice.file), form);
    return choice;
}

std::filesystem::path withExtension(std::filesystem::path name, FilmForm form) {
    if (!name.has_filename() || render::formOf(name) == form) return name;
    // A name may have dots of its own.
    name += "." + std::string(render::fileExtension(form));
    return name;
}

std::optional<SizeEstimate> estimatedSize(const ExportChoice& choice, const FilmFacts& film) {
    if (render::isAnimation(choice.form)) return std::nullopt;
    for (auto each = film.earlier.rbegin(); each != film.earlier.rend(); ++each) {
        if (each->form != choice.form || each->height != choice.height) continue;
        return SizeEstimate{bytesOf(each->bytesPerSecond * film.seconds), false};
    }
    if (choice.form == FilmForm::webm) return std::nullopt;
    // The limit holds for any two seconds, so a film may exceed it by as much once.
    constexpr double kBuffer = 2;
    constexpr double kSoundBits = 192000;
    constexpr double kIndex = 1.005;
    const double pictures = static_cast<double>(render::exportBitRate(sizeOf(choice, film), film.fps));
    const double bits = pictures * (film.seconds + kBuffer) + (film.hasSound ? kSoundBits * film.seconds : 0);
    return SizeEstimate{bytesOf(bits / 8 * kIndex), true};
}

std::string choiceNote(const ExportChoice& choice, const FilmFacts& film) {
    try {
        const PixelSize size = sizeOf(choice, film);
        if (!render::isAnimation(choice.form)) {
            std::string note = formatted("%d×%d Pixel, %.1f s", size.width, size.height, film.seconds);
            if (const auto expected = estimatedSize(choice, film)) {
                note += (expected->isLimit ? ", höchstens " : ", etwa ") + byteText(expected->bytes);
            }
            return note;
        }
        const Interval part = render::animatedPart(choice.animation, film.seconds);
        std::string note =
            formatted("%d×%d Pixel, %.1f s, läuft in einer Schleife.", size.width, size.height, part.length());
        if (film.seconds > render::AnimationOptions::kMaximumSeconds) {
            note += formatted(" Der Film dauert %.1f s; ein bewegtes Bild zeigt höchstens %g s davon.", film.seconds,
                              render::AnimationOptions::kMaximumSeconds);
        }
        return note;
    } catch (const RecorderError& error) {
        return error.message();
    }
}

std::string choiceObstacle(const ExportChoice& choice, const FilmFacts& film, const ExportList& exports) {
    const std::filesystem::path name = choice.file.filename();
    if (name.empty() || name == withExtension(".", choice.form) || name.native().find('\0') != std::string::npos) {
        return "Die Datei braucht einen Namen.";
    }
    const std::filesystem::path folder = choice.file.parent_path();
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) return "Den Ordner " + folder.string() + " gibt es nicht.";
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return "In den Ordner " + folder.string() + " darf nicht geschrieben werden.";
    if (std::filesystem::is_directory(choice.file, error)) return name.string() + " ist ein Ordner.";
    if (exports.writing(choice.file) != nullptr) return name.string() + " wird gerade schon gerendert.";
    if (!render::isAnimation(choice.form)) return {};
    try {
        render::animatedPart(choice.animation, film.seconds);
        sizeOf(choice, film);
    } catch (const RecorderError& wrong) {
        return wrong.message();
    }
    return {};
}

bool replacesFile(const ExportChoice& choice) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(choice.file, ignored));
}

ExportRequest exportRequest(const edit::Composition& composition, const model::ProjectSettings& settings,
                            const ExportChoice& choice) {
    model::ProjectSettings used = settings;
    if (!render::isAnimation(choice.form)) used.exportHeight = choice.height;
    ExportRequest request = exportRequest(composition, used);
    request.form = choice.form;
    // Refused now, not when its turn comes.
    request.file = render::filmTarget(composition.recording(), choice.form, choice.file);
    request.animation = choice.animation;
    request.chapters = choice.chapters;
    return request;
}

std::string exportTitle(const ExportEntry& entry) {
    const std::string recording = recordingName(entry.folder).string();
    const std::string file = entry.file.filename().string();
    return file.empty() ? recording : recording + " – " + file;
}

std::string exportStatus(const ExportEntry& entry) {
    switch (entry.state) {
        case ExportState::waiting:
            return "Wartet";
        case ExportState::running:
            return entry.isCancelling ? "Wird abgebrochen …"
                                      : labels::rendering(entry.width, entry.height, entry.remaining);
        case ExportState::done:
            return formatted("Fertig: %d×%d, %.1f s", entry.width, entry.height, entry.seconds);
        case ExportState::failed:
            return "Fehlgeschlagen: " + entry.reason;
        case ExportState::cancelled:
            return "Abgebrochen";
    }
    return {};
}

ExportNotice exportNotice(const ExportEntry& entry) {
    if (entry.state == ExportState::done) return {"Das Video ist fertig", exportTitle(entry)};
    return {"Ein Export ist fehlgeschlagen", exportTitle(entry) + "\n" + entry.reason};
}

}  // namespace lumivastor::editor
