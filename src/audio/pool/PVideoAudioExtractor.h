#pragma once
// "Extract Audio from Videofile": the first audio stream of a video file
// becomes a 32-bit float WAVE file in the project's Audio folder, entered
// in the pool as a clip.
//
// Video containers are read by the ffmpeg program, not by a library of our
// own: it is run directly (no shell, an argument vector) when it is on the
// PATH, and refused with a message that names the package to install when
// it is not. The extracted file is written under a temporary name beside
// its target and renamed when ffmpeg succeeded, so a failure leaves no file
// behind. Undoing the clip's entry leaves the file in the Audio folder, as
// for every import.

#include <optional>
#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

// The executable file name in one of the folders of searchPath (":"
// separated, as $PATH), or nullopt.
std::optional<std::string> findProgram(const std::string& name, const std::string& searchPath);

// Writes the first audio stream of video as a 32-bit float WAVE file into
// folder (named after the video, made free with -1, -2, ...) by running
// ffmpeg (the program's path). The new file's path in *out; false with the
// reason in *error, nothing left behind.
[[nodiscard]] bool extractAudioFromVideo(const std::string& ffmpeg, const std::string& video, const std::string& folder,
                                         std::string* out, std::string* error);

// "Extract Audio from Videofile" of each of videos into the pool's Audio
// folder: the command that enters their clips, or nullptr after telling
// the user why (files already extracted are deleted then). searchPath is
// where ffmpeg is looked for.
FRef<MCommand> makeExtractAudioCommand(PAudioPool& pool, const std::vector<std::string>& videos,
                                       const std::string& searchPath, FUserMessages& messages);

}  // namespace vantor
