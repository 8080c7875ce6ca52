#pragma once
// python3-mido as an independent reader and writer in tests: runs a python
// script and collects its output lines; reads a file's messages.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace vantor::test {

// Debian's interpreter, where python3-mido lives.
inline constexpr const char* kPython = "/usr/bin/python3";

inline bool haveMido() { return std::system("/usr/bin/python3 -c 'import mido' >/dev/null 2>&1") == 0; }

// Runs script (written to a file of its own) with arguments; its output
// lines without line ends.
inline std::vector<std::string> runPython(const std::string& script, const std::string& arguments) {
  // Tests run in parallel processes: one script file per process and call.
  static int counter = 0;
  const auto path = std::filesystem::temp_directory_path() /
                    ("vantor-mido-" + std::to_string(getpid()) + "-" + std::to_string(++counter) + ".py");
  std::ofstream(path) << script;
  const std::string command = std::string(kPython) + " " + path.string() + " " + arguments;
  std::vector<std::string> lines;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char line[4096];
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
      std::string text(line);
      while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
      lines.push_back(text);
    }
    pclose(pipe);
  }
  std::filesystem::remove(path);
  return lines;
}

using MidoLines = std::vector<std::string>;

// "type T tracks N division D", then per message "TRACK TICK HEX BYTES" at
// absolute ticks; with seconds, "SECONDS HEX BYTES" (to the microsecond) of
// each message instead, by mido's own tempo-map walk over the merged file.
inline MidoLines readWithMido(const std::string& path, bool seconds = false) {
  return runPython(R"(import sys, mido
f = mido.MidiFile(sys.argv[1])
print('type', f.type, 'tracks', len(f.tracks), 'division', f.ticks_per_beat)
if sys.argv[2] == 'seconds':
    now = 0.0
    for m in f:
        now += m.time
        print('%.6f' % now, ' '.join('%02X' % b for b in m.bytes()))
else:
    for i, track in enumerate(f.tracks):
        tick = 0
        for m in track:
            tick += m.time
            print(i, tick, ' '.join('%02X' % b for b in m.bytes()))
)",
                   "'" + path + "' " + (seconds ? "seconds" : "ticks") + " 2>&1");
}

}  // namespace vantor::test
