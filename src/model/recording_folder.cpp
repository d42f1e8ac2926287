// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/recording_folder.h"

#include <algorithm>
#include <system_error>

namespace lumivastor::model {

std::optional<std::filesystem::path> fileInside(const std::filesystem::path& folder, std::string_view name) {
    namespace fs = std::filesystem;
    if (name.empty() || name.find('\0') != std::string_view::npos) return std::nullopt;
    const fs::path relative(name);
    if (relative.is_absolute()) return std::nullopt;
    if (std::find(relative.begin(), relative.end(), "..") != relative.end()) return std::nullopt;

    std::error_code error;
    const fs::path root = fs::canonical(folder, error);
    if (error) return std::nullopt;
    const fs::path file = fs::canonical(root / relative, error);
    if (error) return std::nullopt;
    const auto [rootEnd, fileRest] = std::mismatch(root.begin(), root.end(), file.begin(), file.end());
    if (rootEnd != root.end() || fileRest == file.end()) return std::nullopt;
    if (!fs::is_regular_file(file, error) || error) return std::nullopt;
    return file;
}

}  // namespace lumivastor::model
