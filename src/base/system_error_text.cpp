// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/system_error_text.h"

#include "base/formatted.h"

namespace lumivastor {

std::string systemErrorText(std::error_code error) {
    if (error == std::errc::no_such_file_or_directory) return "Datei oder Ordner nicht gefunden";
    if (error == std::errc::permission_denied) return "Zugriff verweigert";
    if (error == std::errc::operation_not_permitted) return "Vorgang nicht erlaubt";
    if (error == std::errc::no_space_on_device) return "Der Datenträger ist voll";
    if (error == std::errc::read_only_file_system) return "Der Datenträger ist schreibgeschützt";
    if (error == std::errc::is_a_directory) return "Ein Ordner steht an der Stelle der Datei";
    if (error == std::errc::not_a_directory) return "Ein Teil des Pfads ist kein Ordner";
    if (error == std::errc::file_too_large) return "Die Datei ist zu groß";
    if (error == std::errc::file_exists) return "Die Datei gibt es schon";
    if (error == std::errc::io_error) return "Fehler beim Lesen oder Schreiben des Datenträgers";
    if (error == std::errc::too_many_files_open) return "Zu viele geöffnete Dateien";
    if (error == std::errc::filename_too_long) return "Der Pfad ist zu lang";
    if (error == std::errc::not_enough_memory) return "Der Arbeitsspeicher reicht nicht";
    // Starting a thread ends with it, as libraries do.
    if (error == std::errc::resource_unavailable_try_again) return "Es fehlt an Arbeitsspeicher oder an Threads";
    if (error == std::errc::too_many_symbolic_link_levels) return "Zu viele symbolische Verweise";
    if (error == std::errc::not_supported) return "Das ist keine gewöhnliche Datei";
    return formatted("Systemfehler %d", error.value());
}

}  // namespace lumivastor
