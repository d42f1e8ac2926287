// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/text_file.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace lumivastor {

std::string readText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeText(const std::filesystem::path& path, std::string_view content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace lumivastor
