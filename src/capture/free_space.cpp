// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/free_space.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace lumivastor::capture {

namespace {

// Quoted for a shell.
std::string shellWord(const std::string& text) {
    std::string word = "'";
    for (const char each : text) word += each == '\'' ? std::string("'\\''") : std::string(1, each);
    return word + "'";
}

}  // namespace

std::optional<FreeSpace> freeSpaceOf(const std::filesystem::path& folder) {
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(folder, error);
    if (error) return std::nullopt;
    return FreeSpace{space.available, space.capacity};
}

std::uint64_t finishingBytes(std::int64_t pictures, double soundSeconds, std::int64_t pointerEvents) {
    // The index has about 20 bytes for a picture and 8 for a packet of sound (47 a second); an event of the pointer
    // track takes about 200 bytes of indented text. Twice that, because this is an estimate.
    const double bytes =
        static_cast<double>(pictures) * 20 + soundSeconds * 47 * 8 + static_cast<double>(pointerEvents) * 200;
    return static_cast<std::uint64_t>(2 * bytes);
}

std::uint64_t requiredSpace(const SpaceNeed& need, std::uint64_t capacity) {
    // Up to two seconds of movie are still in memory, the watch looks once a second, and an encoder may exceed its bit
    // rate for a moment: four seconds are needed in any case.
    const double onItsWay = 4 * need.bytesPerSecond;
    // A margin beyond that, so that other programs do not find a full disk because of us: 20 seconds of the recording,
    // at least 64 MB. On small volumes a tenth.
    const double comfortable = std::max(64e6, 20 * need.bytesPerSecond);
    return need.finishingBytes +
           static_cast<std::uint64_t>(onItsWay + std::min(comfortable, static_cast<double>(capacity) / 10));
}

bool mustStop(const FreeSpace& space, const SpaceNeed& need) {
    return space.available < requiredSpace(need, space.capacity);
}

RecorderError diskNearlyFull() {
    return RecorderError("Der Datenträger ist fast voll. Die Aufnahme endet, solange sie sich noch abschließen lässt.");
}

RecorderError notCompleted(const RecorderError& reason, const std::filesystem::path& folder, bool isDiskFull) {
    const std::string when = isDiskFull ? "Sobald auf dem Datenträger wieder Platz ist, lässt sich die Aufnahme"
                                        : "Die Aufnahme lässt sich noch";
    return RecorderError(reason.message() + " " + when +
                         " vervollständigen: beim nächsten Start von LumiVastor von selbst, oder mit dem Befehl "
                         "lumivastor recover " +
                         shellWord(folder.string()));
}

}  // namespace lumivastor::capture
