// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "app/session/preferences.h"

namespace lumivastor::app {

/// Preferences in the user's configuration folder.
class StoredPreferences final : public Preferences {
  public:
    StoredPreferences() : settings_(QSettings::IniFormat, QSettings::UserScope, "LumiVastor", "LumiVastor") {}

    std::optional<bool> autoZoomsEnabled() const override { return choice("autoZoomsEnabled"); }
    void setAutoZoomsEnabled(bool enabled) override { settings_.setValue("autoZoomsEnabled", enabled); }

    std::optional<bool> preparesFilms() const override { return choice("preparesFilms"); }
    void setPreparesFilms(bool prepares) override { settings_.setValue("preparesFilms", prepares); }

    std::optional<int> countdownSeconds() const override {
        const QVariant value = settings_.value("countdownSeconds");
        return value.isValid() ? std::optional(value.toInt()) : std::nullopt;
    }
    void setCountdownSeconds(int seconds) override { settings_.setValue("countdownSeconds", seconds); }

    std::vector<std::filesystem::path> recordingPlaces() const override {
        std::vector<std::filesystem::path> places;
        for (const QString& place : settings_.value("recordingPlaces").toStringList()) {
            places.emplace_back(place.toStdString());
        }
        return places;
    }
    void setRecordingPlaces(const std::vector<std::filesystem::path>& places) override {
        QStringList texts;
        for (const std::filesystem::path& place : places) texts << QString::fromStdString(place.string());
        settings_.setValue("recordingPlaces", texts);
    }

    ChosenDevice microphone() const override { return device("microphone"); }
    void setMicrophone(const ChosenDevice& device) override { setDevice("microphone", device); }
    ChosenDevice camera() const override { return device("camera"); }
    void setCamera(const ChosenDevice& device) override { setDevice("camera", device); }

    ChosenDevice cardSound(const std::string& card) const override {
        ChosenDevice sound = device(cardKey(card));
        sound.isNone = settings_.value(cardKey(card) + "None").toBool();
        return sound;
    }
    void setCardSound(const std::string& card, const ChosenDevice& sound) override {
        setDevice(cardKey(card), sound);
        settings_.setValue(cardKey(card) + "None", sound.isNone);
    }

  private:
    std::optional<bool> choice(const QString& key) const {
        const QVariant value = settings_.value(key);
        return value.isValid() ? std::optional(value.toBool()) : std::nullopt;
    }
    ChosenDevice device(const QString& key) const {
        return {settings_.value(key).toString().toStdString(), settings_.value(key + "Name").toString().toStdString()};
    }
    void setDevice(const QString& key, const ChosenDevice& device) {
        settings_.setValue(key, QString::fromStdString(device.id));
        settings_.setValue(key + "Name", QString::fromStdString(device.name));
    }
    // A card's name may hold the characters that separate groups.
    static QString cardKey(const std::string& card) {
        return "cardSounds/" + QString::fromLatin1(QUrl::toPercentEncoding(QString::fromStdString(card))) + "/input";
    }

    QSettings settings_;
};

}  // namespace lumivastor::app
