// The `vantor` command.

#include <iostream>

#include "cli/CliApp.h"

int main(int argc, char** argv) { return vantor::cli::runCli(argc, argv, std::cout, std::cerr); }
