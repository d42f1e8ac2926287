// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/look.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

#include "base/file_replacement.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "model/project_document.h"
#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

enum class Share : std::uint8_t {
    recording,  // not part of a look
    look,
    bubble,  // of the look, for recordings with a webcam
};

struct Decision {
    std::string_view key;
    Share share;
};

constexpr auto kDecisions = std::to_array<Decision>({
    {"version", Share::recording},   {"trimStart", Share::recording},  {"trimEnd", Share::recording},
    {"cuts", Share::recording},      {"zooms", Share::recording},      {"zoomScale", Share::look},
    {"tempo", Share::look},          {"smoothing", Share::look},       {"cursorScale", Share::look},
    {"backgroundRed", Share::look},  {"backgroundGreen", Share::look}, {"backgroundBlue", Share::look},
    {"padding", Share::look},        {"cornerRadius", Share::look},    {"systemVolume", Share::look},
    {"micVolume", Share::look},      {"levelLoudness", Share::look},   {"exportHeight", Share::look},
    {"exportFormat", Share::look},   {"webcamEnabled", Share::bubble}, {"webcamSize", Share::bubble},
    {"webcamCorner", Share::bubble}, {"webcamZoom", Share::bubble},    {"webcamShift", Share::recording},
    {"cropTop", Share::recording},   {"cropBottom", Share::recording}, {"cropLeft", Share::recording},
    {"cropRight", Share::recording}, {"masks", Share::recording},
});

constexpr const Decision* decision(std::string_view key) {
    for (const Decision& each : kDecisions) {
        if (each.key == key) return &each;
    }
    return nullptr;
}

constexpr bool everyFieldIsDecided() {
    for (const std::string_view key : fieldKeys<ProjectSettings>()) {
        if (decision(key) == nullptr) return false;
    }
    return kDecisions.size() == kFieldCount<ProjectSettings>;
}
static_assert(everyFieldIsDecided(), "a field of the settings is either part of a look or not");

constexpr std::string_view kExtension = ".json";
// A file name has up to 255 bytes. This leaves room for the extensions, and for the name under which the file is
// written before it replaces the old one.
constexpr std::size_t kMostBytes = 180;

// What stands around the cause, for errors of the system.
RecorderError failed(const std::string& name, const std::string& what, const std::error_code& error) {
    return RecorderError("Der Look „" + name + "“ kann nicht " + what + " werden: " + systemErrorText(error) + ".");
}

constexpr bool isBlank(char letter) {
    return letter == ' ' || (letter >= '\t' && letter <= '\r');
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool isControl(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte < 0x20 || byte == 0x7F;
}

bool isLook(const FileBytes& bytes) {
    try {
        ProjectSettings::parse(bytes);
        return true;
    } catch (const RecorderError&) {
        return false;
    }
}

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isBefore(const std::string& a, const std::string& b) {
    const auto folded = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(), lower);
        return text;
    };
    return std::pair(folded(a), a) < std::pair(folded(b), b);
}

// The look's name if this is the name of its file.
std::optional<std::string> nameOf(const std::filesystem::path& file) {
    if (file.extension() != kExtension) return std::nullopt;
    std::string name = file.stem().string();
    try {
        if (checkedLookName(name) == name) return name;
    } catch (const RecorderError&) {
        // A file of this name cannot have been saved by us.
    }
    return std::nullopt;
}

}  // namespace

bool belongsToLook(std::string_view key) {
    const Decision* const found = decision(key);
    return found != nullptr && found->share != Share::recording;
}

ProjectSettings withLook(const ProjectSettings& settings, const ProjectSettings& look, bool hasWebcam) {
    ProjectSettings next = settings;
    const auto take = [&](const auto& field) {
        const Share share = decision(field.key)->share;
        if (share == Share::recording || (share == Share::bubble && !hasWebcam)) return;
        next.*field.member = look.*field.member;
    };
    std::apply([&take](const auto&... fields) { (take(fields), ...); }, RecordFields<ProjectSettings>::list);
    return next;
}

ProjectSettings lookOf(const ProjectSettings& settings) {
    return withLook({}, settings, true);
}

std::string checkedLookName(std::string_view typed) {
    const std::string_view name = trimmed(typed);
    if (name.empty()) throw RecorderError("Ein Look braucht einen Namen.");
    if (name.size() > kMostBytes) throw RecorderError("Dieser Name ist zu lang für einen Look.");
    if (name.front() == '.') throw RecorderError("Der Name eines Looks beginnt nicht mit einem Punkt.");
    if (name.find_first_of("/\\") != std::string_view::npos || std::any_of(name.begin(), name.end(), isControl)) {
        throw RecorderError("Der Name eines Looks enthält keine Schrägstriche und keine Steuerzeichen.");
    }
    if (!simdjson::validate_utf8(name.data(), name.size())) {
        throw RecorderError("Der Name eines Looks ist in UTF-8 geschrieben.");
    }
    return std::string(name);
}

ProjectSettings lookOfRecording(const std::filesystem::path& folder) {
    return lookOf(loadDocument<ProjectSettings>(ProjectSettings::fileURL(folder), ProjectDocument::kMaxBytes));
}

std::vector<std::string> LookFolder::names() const {
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator each(folder_, error);
    for (; !error && each != std::filesystem::directory_iterator(); each.increment(error)) {
        std::error_code ignored;
        if (!each->is_regular_file(ignored)) continue;
        if (auto name = nameOf(each->path().filename())) names.push_back(std::move(*name));
    }
    std::sort(names.begin(), names.end(), isBefore);
    return names;
}

std::filesystem::path LookFolder::file(const std::string& name) const {
    // Not in the folder that the program happens to run in.
    if (folder_.empty()) throw RecorderError("Für Looks gibt es keinen Ordner.");
    return folder_ / (checkedLookName(name) + std::string(kExtension));
}

bool LookFolder::contains(const std::string& name) const {
    if (folder_.empty()) return false;
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(file(name), ignored));
}

ProjectSettings LookFolder::load(const std::string& name) const {
    if (name == kStandard && !contains(name)) return {};
    return lookOf(loadDocument<ProjectSettings>(file(name), kMaxBytes));
}

void LookFolder::save(const std::string& name, const ProjectSettings& settings) const {
    const std::filesystem::path path = file(name);
    std::error_code error;
    makePrivateFolder(folder_, error);
    if (error) throw failed(name, "gesichert", error);
    const std::string text = ProjectDocument::encoded(lookOf(settings));
    const FileBytes old = readFile(path, kMaxBytes, error);
    const bool isLost = contains(name) && (error || !isLook(old));
    const std::optional<std::filesystem::path> kept =
        isLost ? std::optional(std::filesystem::path(path.filename().string() + ".alt")) : std::nullopt;
    if (const std::error_code failure = replaceFile(path, text, Durability::now, kept)) {
        throw failed(name, "gesichert", failure);
    }
}

void LookFolder::remove(const std::string& name) const {
    const std::filesystem::path path = file(name);
    std::error_code error;
    // An empty folder of that name is no look.
    if (std::filesystem::is_directory(std::filesystem::symlink_status(path, error))) {
        error = std::make_error_code(std::errc::is_a_directory);
    } else if (!std::filesystem::remove(path, error) && !error) {
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    }
    if (error) throw failed(name, "gelöscht", error);
}

}  // namespace lumivastor::model
