#include <iostream>
#include <string>
#include <vector>

#include "app/application.h"
#include "app/log/log.h"
#include "cli/command_line.h"

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const int status = lumivastor::startsApplication(words) ? lumivastor::runApplication(argc, argv)
                                                            : lumivastor::runCommandLine(words, std::cout, std::cerr);
    lumivastor::Log::drain();
    return status;
}
