// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/restore_tokens.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/file_bytes.h"
#include "base/file_replacement.h"
#include "base/log.h"
#include "base/private_folder.h"

namespace lumivastor::wayland {
namespace {

constexpr std::uint64_t kLargestFile = 64 * 1024;

// By the names of their kinds.
using Tokens = std::map<std::string, std::string>;

std::string nameOf(SharedSource source) {
    return source == SharedSource::display ? "display" : "window";
}

// Whether JSON holds the text between quotes as it is. Tokens are UUIDs or the like; others are not stored.
bool isPlain(std::string_view text) {
    for (const char each : text) {
        if (each < ' ' || each > '~' || each == '"' || each == '\\') return false;
    }
    return true;
}

// Reads the one shape of JSON that is written here: an object whose values are plain texts.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::optional<Tokens> tokens() {
        Tokens all;
        if (!take('{')) return std::nullopt;
        if (!take('}')) {
            do {
                auto name = text();
                if (!name || !take(':')) return std::nullopt;
                auto token = text();
                if (!token) return std::nullopt;
                all[*std::move(name)] = *std::move(token);
            } while (take(','));
            if (!take('}')) return std::nullopt;
        }
        skipSpace();
        return rest_.empty() ? std::optional(std::move(all)) : std::nullopt;
    }

  private:
    void skipSpace() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size())); }

    bool take(char expected) {
        skipSpace();
        if (!rest_.starts_with(expected)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::optional<std::string> text() {
        if (!take('"')) return std::nullopt;
        const std::size_t end = rest_.find('"');
        if (end == std::string_view::npos || !isPlain(rest_.substr(0, end))) return std::nullopt;
        std::string found(rest_.substr(0, end));
        rest_.remove_prefix(end + 1);
        return found;
    }

    std::string_view rest_;
};

Tokens readTokens(const std::filesystem::path& path) {
    std::error_code error;
    const FileBytes bytes = readFile(path, kLargestFile, error);
    return error ? Tokens{} : Reader(bytes.text()).tokens().value_or(Tokens{});
}

}  // namespace

RestoreTokens::RestoreTokens(const std::filesystem::path& folder) : path_(folder / "portal.json") {}

std::string RestoreTokens::token(SharedSource source) const {
    const Tokens all = readTokens(path_);
    const auto found = all.find(nameOf(source));
    return found == all.end() ? "" : found->second;
}

void RestoreTokens::store(SharedSource source, const std::string& token) const {
    Tokens all = readTokens(path_);
    all.erase(nameOf(source));
    if (!token.empty() && isPlain(token)) all[nameOf(source)] = token;
    std::string text = "{";
    for (const auto& [name, value] : all) {
        text.append(text.size() > 1 ? ",\n  \"" : "\n  \"").append(name).append("\": \"").append(value).append("\"");
    }
    text += "\n}\n";
    std::error_code error;
    makePrivateFolder(path_.parent_path(), error);
    if (!error) error = replaceFile(path_, text, Durability::later);
    if (error) Log::write("Capture", "portal tokens: " + error.message());
}

}  // namespace lumivastor::wayland
