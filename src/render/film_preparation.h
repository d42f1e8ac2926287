// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <thread>
#include <variant>

#include "base/recorder_error.h"
#include "edit/composition.h"
#include "media/encoder_choice/encoder_choice.h"
#include "render/film_form.h"

// Makes the groups of a film ahead and keeps them (reuse/kept_groups.h), so that its export only has to put them
// together. They are those that the export would make, byte for byte.

namespace lumivastor::render {

using EncoderChooser = std::function<media::EncoderChoice(const media::VideoSettings&)>;

/// Asks `choose` for each size once only: the choice tries hardware, which takes up to two seconds and wakes graphics
/// cards. For one preparation at a time.
EncoderChooser rememberingChooser(EncoderChooser choose);

struct PreparationOptions {
    FilmForm form = FilmForm::mp4;
    /// See `RenderOptions`; empty: nothing is prepared.
    std::filesystem::path cacheFolder{};
    /// Called with the prepared part of the film, 0...1, never falling and not for less than a hundredth more.
    std::function<void(double)> progress{};
    /// On a stop request the preparation ends within a few pictures. What is finished is kept.
    std::stop_token stop{};
    /// That of the export; see `RenderOptions`.
    EncoderChooser chooseEncoder = [](const media::VideoSettings& settings) {
        return media::chooseExportEncoder(settings);
    };
};

struct PreparationResult {
    enum class End {
        whole,       // there are all groups of the film
        stopped,     // on request
        full,        // groups cannot be kept: the disk is short of space, or another program keeps some
        impossible,  // films of this form, or with this encoder, do not come in groups
    };
    End end = End::impossible;
    std::int64_t pictures = 0;  // that are there, from the film's beginning on
    std::int64_t made = 0;      // of them, those that were not there before
};

/// Prepares the composition's film with its present settings, at the size of its canvas, for its usual place. Holds the
/// lock of `KeptGroups` as soon as it has made a group, and gives it back at its end: an export meanwhile works, but
/// keeps nothing. Throws `RecorderError` where an export would fail, too.
PreparationResult prepareFilmSync(const edit::Composition& composition, const PreparationOptions& options);

using PreparationOutcome = std::variant<PreparationResult, RecorderError>;

/// The same on the returned thread, with low priority and on one processor, for the composition that `compose` makes
/// there. `completion` is its last call, on that thread; pictures, encoder and lock have been released then. The
/// thread's stop token replaces the options'. Throws `RecorderError` when no thread can be started; `completion` is not
/// called then.
[[nodiscard]] std::jthread prepareFilm(std::function<std::shared_ptr<const edit::Composition>()> compose,
                                       PreparationOptions options,
                                       std::function<void(const PreparationOutcome&)> completion);

}  // namespace lumivastor::render
