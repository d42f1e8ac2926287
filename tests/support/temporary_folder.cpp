// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/temporary_folder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "support/text_file.h"

namespace lumivastor {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "lumivastor-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void TemporaryFolder::write(const std::filesystem::path& name, std::string_view content) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    writeText(path_ / name, content);
}

std::string TemporaryFolder::read(const std::filesystem::path& name) const {
    return readText(path_ / name);
}

}  // namespace lumivastor
