// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSettings>

#include "app/session/preferences.h"

namespace lumivastor::app {

/// Preferences in the user's configuration folder.
class StoredPreferences final : public Preferences {
  public:
    StoredPreferences() : settings_(QSettings::IniFormat, QSettings::UserScope, "LumiVastor", "LumiVastor") {}

    std::optional<bool> autoZoomsEnabled() const override {
        const QVariant value = settings_.value("autoZoomsEnabled");
        return value.isValid() ? std::optional(value.toBool()) : std::nullopt;
    }
    void setAutoZoomsEnabled(bool enabled) override { settings_.setValue("autoZoomsEnabled", enabled); }

  private:
    QSettings settings_;
};

}  // namespace lumivastor::app
