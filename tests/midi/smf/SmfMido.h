#pragma once
// python3-mido as an independent reader of the MIDI files we write: every
// message of a file as one line of text.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vantor::test {

using MidoLines = std::vector<std::string>;

inline bool haveMido() { return std::system("/usr/bin/python3 -c 'import mido' >/dev/null 2>&1") == 0; }

// "type T tracks N division D", then per message "TRACK TICK HEX BYTES" at
// absolute ticks; with seconds, "TRACK SECONDS" (to the microsecond) of
// each message instead, by mido's own tempo-map walk over the merged file.
inline MidoLines readWithMido(const std::string& path, bool seconds = false) {
  static int counter = 0;
  const std::filesystem::path script = std::filesystem::temp_directory_path() /
                                       ("vantor-mido-" + std::to_string(getpid()) + "-" + std::to_string(++counter));
  std::ofstream(script) << R"(import sys, mido
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
)";
  const std::string command =
      "/usr/bin/python3 " + script.string() + " '" + path + "' " + (seconds ? "seconds" : "ticks") + " 2>&1";
  MidoLines lines;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char line[4096];
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
      std::string text(line);
      while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
      lines.push_back(text);
    }
    pclose(pipe);
  }
  std::filesystem::remove(script);
  return lines;
}

}  // namespace vantor::test
