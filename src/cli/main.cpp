// The `vantor` command.

#include <exception>
#include <iostream>
#include <new>

#include "cli/CliApp.h"

// Nothing may leave main as an exception (the program would abort with a
// core dump instead of a message): whatever slipped through is reported and
// ends the run as a data error.
int main(int argc, char** argv) {
  try {
    return vantor::cli::runCli(argc, argv, std::cout, std::cerr);
  } catch (const std::bad_alloc&) {
    std::cerr << "vantor: out of memory\n";
  } catch (const std::exception& e) {
    std::cerr << "vantor: internal error: " << e.what() << '\n';
  } catch (...) {
    std::cerr << "vantor: internal error\n";
  }
  return 1;
}
