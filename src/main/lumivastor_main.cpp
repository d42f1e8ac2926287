// SPDX-License-Identifier: GPL-3.0-or-later
#include <iostream>
#include <string>
#include <vector>

#include "app/startup/application.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "cli/verbs/command_line.h"

namespace {

int run(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    return lumivastor::cli::startsApplication(words) ? lumivastor::app::runApplication(argc, argv)
                                                     : lumivastor::cli::runCommandLine(words, std::cout, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
    int status = 1;
    try {
        status = run(argc, argv);
    } catch (...) {
        std::cerr << lumivastor::handledError("Unerwarteter Fehler").what() << "\n";
    }
    lumivastor::Log::drain();
    return status;
}
