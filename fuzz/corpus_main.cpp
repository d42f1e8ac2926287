// SPDX-License-Identifier: GPL-3.0-or-later

// Runs a fuzzer's function over every file of a folder: what was once found stays tested without a fuzzer.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "base/file_bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::error_code error;
            const auto bytes = lumivastor::readFile(entry.path(), std::uint64_t{1} << 30, error);
            if (error) {
                std::fprintf(stderr, "cannot read %s\n", entry.path().c_str());
                return 1;
            }
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++files;
        }
    }
    std::printf("%d files\n", files);
    return files > 0 ? 0 : 1;
}
