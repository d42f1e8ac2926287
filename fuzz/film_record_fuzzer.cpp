// SPDX-License-Identifier: GPL-3.0-or-later

// What the cache says about a film, and a file of kept groups, from anywhere: read or refused; what was read survives
// being written, and every group that is read is well-formed.

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "base/formatted.h"
#include "render/reuse/film_record.h"
#include "render/reuse/kept_groups.h"

namespace {

using namespace lumivastor;

void tryRecord(std::string_view text) {
    const auto record = render::parseFilmRecord(text);
    if (record && render::parseFilmRecord(render::textOf(*record)) != record) std::abort();
}

void tryKeptGroups(std::string_view text) {
    static const std::filesystem::path file =
        std::filesystem::temp_directory_path() / formatted("film_record_fuzzer.%d", static_cast<int>(::getpid()));
    std::ofstream(file, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    const render::KeptGroups kept(file);
    for (const auto& place : kept.places()) {
        const auto group = kept.read(place);
        if (group && !media::isWellFormed(*group)) std::abort();
    }
    std::filesystem::remove(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    tryRecord(text);
    tryKeptGroups(text);
    return 0;
}
