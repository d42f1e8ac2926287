// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "editor/exports/export_list.h"
#include "editor/session/export_job.h"
#include "model/project_settings.h"
#include "render/film_form.h"

// What the dialog "Exportieren als …" decides, as functions of what the user has chosen. German sentences.

namespace lumivastor::editor {

/// What the dialog asks for.
struct ExportChoice {
    render::FilmForm form = render::FilmForm::mp4;
    std::int64_t height = 1440;  // of a movie
    std::filesystem::path file;
    render::AnimationOptions animation{};
    bool chapters = false;  // the marks of an MP4 or MOV film become chapters

    bool operator==(const ExportChoice&) const = default;
};

/// The film that is exported.
struct FilmFacts {
    std::filesystem::path folder;  // of the recording
    double seconds = 0;
    std::int64_t height = 1440;  // of the recording's own film
    bool hasMarks = false;       // in the video
    std::int64_t fps = 60;
    bool hasSound = true;
    /// Films of this recording that were finished since the program started.
    struct Earlier {
        render::FilmForm form = render::FilmForm::mp4;
        int height = 0;  // pixels
        double bytesPerSecond = 0;
    };
    std::vector<Earlier> earlier{};  // the newest last
};

struct FormName {
    render::FilmForm form;
    std::string_view name;
};
std::span<const FormName> formNames();

inline constexpr std::array<int, 5> kAnimationWidths = {480, 640, 800, 1080, 1280};
inline constexpr std::array<int, 3> kAnimationRates = {10, 15, 20};

/// What the dialog begins with: the document's form and height, and a name after the recording, in the folder that was
/// used last, or else in the recording's.
ExportChoice firstChoice(const model::ProjectSettings& settings, const FilmFacts& film,
                         const std::filesystem::path& lastFolder);

/// Whether the film can have chapters: in this form, with these marks.
bool offersChapters(const ExportChoice& choice, const FilmFacts& film);

/// The same in another form: the name gets its extension, if it had the old one.
ExportChoice withForm(ExportChoice choice, render::FilmForm form);

/// A name that the user has typed, with the form's extension.
std::filesystem::path withExtension(std::filesystem::path name, render::FilmForm form);

/// How large a film will be.
struct SizeEstimate {
    std::uint64_t bytes = 0;
    /// It will not be larger, but may be much smaller: what the encoder's limit of bits allows. Otherwise it is what an
    /// earlier film of the recording had in the same form and height, for this length.
    bool isLimit = false;
};
/// nullopt where nothing is known: WebM has no limit, and of animated pictures only their content says it.
std::optional<SizeEstimate> estimatedSize(const ExportChoice& choice, const FilmFacts& film);

/// One line on what the file will be: "1920×1080 Pixel, 12.5 s, höchstens 18,9 MB".
std::string choiceNote(const ExportChoice& choice, const FilmFacts& film);

/// Why this cannot be exported, as a sentence; empty when it can. Looks at the file system.
std::string choiceObstacle(const ExportChoice& choice, const FilmFacts& film, const ExportList& exports);

/// Whether there is a file that would be replaced.
bool replacesFile(const ExportChoice& choice);

/// The export of the choice with these settings. Throws `RecorderError`.
ExportRequest exportRequest(const edit::Composition& composition, const model::ProjectSettings& settings,
                            const ExportChoice& choice);

/// The line of an export in the list: "Aufnahme 3 – film.webm".
std::string exportTitle(const ExportEntry& entry);
/// Its state: "Wartet", "Rendere in 1920×1080 … noch 12 s", "Fertig: 12.5 s", "Fehlgeschlagen: …", "Abgebrochen".
std::string exportStatus(const ExportEntry& entry);

/// The notification about an export that has ended: a heading and a line.
struct ExportNotice {
    std::string heading;
    std::string text;
};
ExportNotice exportNotice(const ExportEntry& entry);

}  // namespace lumivastor::editor
