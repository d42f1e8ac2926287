// SPDX-License-Identifier: GPL-3.0-or-later
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include "base/file_writer.h"
#include "cli/help/manual_page.h"
#include "cli/help/shell_completions.h"

// Writes the manual page and the completions of shells into a folder, for the package.

namespace lumivastor::cli {
namespace {

int writeHelpFiles(const std::filesystem::path& folder) {
    const std::pair<const char*, std::string> files[] = {
        {"lumivastor.1", manualPage(LUMI_VERSION)},
        {"lumivastor.bash", bashCompletion()},
        {"_lumivastor", zshCompletion()},
        {"lumivastor.fish", fishCompletion()},
    };
    for (const auto& [name, content] : files) {
        FileWriter writer(folder / name);
        writer.write(content);
        if (const std::error_code error = writer.finish()) {
            std::cerr << (folder / name).string() << ": " << error.message() << "\n";
            return 1;
        }
    }
    return 0;
}

}  // namespace
}  // namespace lumivastor::cli

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Aufruf: write_help_files ORDNER\n";
        return 2;
    }
    return lumivastor::cli::writeHelpFiles(argv[1]);
}
