// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_notices.h"

#include <utility>

#include "editor/exports/export_choice.h"
#include "ui/file_viewer.h"

namespace lumivastor::editor {

namespace {

constexpr const char* kPlay = "play";
constexpr const char* kReveal = "reveal";

}  // namespace

ExportNotices::ExportNotices(MainLoop& loop, ExportQueue& queue, Options options)
    : options_([&options] {
          if (!options.play) options.play = ui::playFile;
          if (!options.reveal) options.reveal = ui::revealInFileViewer;
          return std::move(options);
      }()),
      notifier_(loop, options_.bus),
      observation_(queue.observe({{}, [this](const ExportEntry& entry) { ended(entry); }})) {}

ExportNotices::~ExportNotices() = default;

void ExportNotices::ended(const ExportEntry& entry) {
    // Who cancels an export knows.
    if (entry.state == ExportState::cancelled || (options_.isWanted && !options_.isWanted(entry))) return;
    const ExportNotice notice = exportNotice(entry);
    notices::DesktopNotice shown{notice.heading, notice.text, {}};
    if (entry.state == ExportState::done) {
        // The key "default" is a click on the notification itself.
        shown.actions = {{"default", "Abspielen"}, {kPlay, "Abspielen"}, {kReveal, "Im Ordner zeigen"}};
    }
    notifier_.show(std::move(shown), [this, film = entry.file](const std::string& key) {
        if (key == kReveal) {
            options_.reveal(film);
        } else {
            options_.play(film);
        }
    });
}

}  // namespace lumivastor::editor
