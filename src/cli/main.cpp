// The `vantor` command.

#include <unistd.h>

#include <exception>
#include <iostream>
#include <new>

#include "cli/CliApp.h"

// Questions are asked where a person sits at a terminal (stdin and stderr);
// otherwise the run is a script and questions take their defaults.
// Nothing may leave main as an exception (the program would abort with a
// core dump instead of a message): whatever slipped through is reported and
// ends the run as a data error.
int main(int argc, char** argv) {
  try {
    const bool person = ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
    return vantor::cli::runCli(argc, argv, std::cout, std::cerr, person ? &std::cin : nullptr);
  } catch (const std::bad_alloc&) {
    std::cerr << "vantor: out of memory\n";
  } catch (const std::exception& e) {
    std::cerr << "vantor: internal error: " << e.what() << '\n';
  } catch (...) {
    std::cerr << "vantor: internal error\n";
  }
  return 1;
}
