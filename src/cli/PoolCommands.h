#pragma once
// The pool on the command line:
//   `vantor import-audio FILE.vpr IN... [--copy] [--convert]
//    [--extract-video] [--track NAME --at POSITION] [--json]`: enters audio files (or, with
//    --extract-video, the sound of video files) in the project's pool (one
//    undoable action) and, with --track, places them on that audio track
//    one after the other from POSITION; then saves.
//   `vantor pool FILE.vpr [--json] [--missing] [--remove-unused]`: lists the
//    pool's clips and its information line; --remove-unused removes the
//    clips no event uses and saves.
//   `vantor pool FILE.vpr --resolve FOLDER [--filter ROW]... [--locate
//    MISSING=NEWPATH]... [--json]`: "Find Missing Files"; relinks what fits,
//    saves, and exits with 1 while files stay missing.
//   `vantor pool FILE.vpr --convert CLIP... [--format F] [--bits B] [--rate
//    HZ]`: "Convert Files" into the Audio folder, then saves.
//   `vantor regions FILE.vpr CLIP [--json]`: lists a clip's regions.

#include <CLI/CLI.hpp>

#include <cstddef>
#include <string>

#include "cli/CliContext.h"

namespace vantor {
class PAudioClip;
class PAudioPool;
}  // namespace vantor

namespace vantor::cli {

// The clip of pool named text (a name, else a pool ID), or nullptr.
PAudioClip* findPoolClip(const PAudioPool* pool, const std::string& text);
// "   1  vox  48000 frames  48.000 kHz  2 ch  used 1x", then each file's
// path on a line of its own.
std::string clipLine(const PAudioClip& clip, size_t uses);

void addPoolCommands(CLI::App& app, CliContext& context, int* exitCode);

}  // namespace vantor::cli
