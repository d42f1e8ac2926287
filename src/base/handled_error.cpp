// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/handled_error.h"

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

namespace lumivastor {

namespace {

// When these cannot be made, the program cannot even start.
const RecorderError kOutOfMemory("Der Arbeitsspeicher reicht nicht.");
// Starting a thread fails alike when its stack finds no room and when the system allows no more threads.
const RecorderError kNoThread("Es ließ sich kein weiterer Thread starten; meist fehlt Arbeitsspeicher.");

RecorderError withWords(const char* failed, const char* words) noexcept {
    try {
        return RecorderError(std::string(failed) + ": " + words);
    } catch (...) {
        return kOutOfMemory;
    }
}

}  // namespace

const RecorderError& outOfMemory() noexcept {
    return kOutOfMemory;
}

bool isOutOfMemory(const RecorderError& error) noexcept {
    // Every sentence about a shortage has it, ours and the system's, and no other sentence.
    return std::string_view(error.what()).find("Arbeitsspeicher") != std::string_view::npos;
}

RecorderError handledError(const char* failed) noexcept {
    try {
        throw;
    } catch (const RecorderError& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::not_enough_memory) return kOutOfMemory;
        if (error.code() == std::errc::resource_unavailable_try_again) return kNoThread;
        return withWords(failed, error.what());
    } catch (const std::exception& error) {
        return withWords(failed, error.what());
    } catch (...) {
        return withWords(failed, "?");
    }
}

}  // namespace lumivastor
