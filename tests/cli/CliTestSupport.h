#pragma once
// Runs the shipped `vantor` binary with arguments and standard input, and
// collects its exit status and output.

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/CliApp.h"

namespace vantor::test {

struct RunResult {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string quoteArgument(const std::string& arg) {
  std::string quoted = "'";
  for (char c : arg) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

inline std::string slurp(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A fresh folder under the system's temporary folder, removed at the end.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vantor-cli-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TempFolder() { std::filesystem::remove_all(path_); }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

inline RunResult runVantor(const std::vector<std::string>& args, const std::string& input = {}) {
  static int counter = 0;
  const auto base = std::filesystem::temp_directory_path() /
                    ("vantor-run-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
  const std::string in = base.string() + ".in";
  const std::string out = base.string() + ".out";
  const std::string err = base.string() + ".err";
  std::ofstream(in, std::ios::binary) << input;
  std::string command = quoteArgument(VANTOR_BINARY);
  for (const std::string& arg : args) command += " " + quoteArgument(arg);
  command += " <" + quoteArgument(in) + " >" + quoteArgument(out) + " 2>" + quoteArgument(err);
  RunResult result;
  const int raw = std::system(command.c_str());
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = slurp(out);
  result.err = slurp(err);
  std::filesystem::remove(in);
  std::filesystem::remove(out);
  std::filesystem::remove(err);
  return result;
}

// Runs `vantor ARGS` in this process, its questions answered by typed as on
// a terminal; the exit status, with what it wrote to stderr in *err.
inline int runVantorTyping(std::vector<std::string> args, const std::string& typed, std::string* err) {
  args.insert(args.begin(), "vantor");
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  std::ostringstream out;
  std::ostringstream errors;
  std::istringstream terminal(typed);
  const int status = cli::runCli(static_cast<int>(argv.size()), argv.data(), out, errors, &terminal);
  *err = errors.str();
  return status;
}

}  // namespace vantor::test
