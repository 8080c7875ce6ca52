#include "audio/files/AudioFileHandler.h"

#include <algorithm>

#include "audio/files/AIFFFileHandler.h"
#include "audio/files/AudioFileMessages.h"
#include "audio/files/SDIIFileHandler.h"
#include "audio/files/SndfileFileHandler.h"
#include "audio/files/WaveFileHandler.h"

namespace vantor {

std::string AudioFileHandler::refusal(const std::string& path) const {
  (void)path;
  return kInvalidAudioFileMessage;
}

const std::vector<const AudioFileHandler*>& AudioFileHandlers::all() {
  static const WaveFileHandler wave;
  static const AIFFFileHandler aiff;
  // SDII data files have no identifiers: they are known by their companion
  // file or their name, after the formats that know their first bytes.
  static const SDIIFileHandler sdii;
  // Formats read through libsndfile come after our own.
  using Family = SndfileFileHandler::Family;
  static const SndfileFileHandler flac(Family::kFlac), ogg(Family::kOgg), mp3(Family::kMp3), au(Family::kAu),
      caf(Family::kCaf), wave64(Family::kWave64), rf64(Family::kRf64);
  static const std::vector<const AudioFileHandler*> handlers = {&wave, &aiff, &sdii, &flac,   &ogg,
                                                                &mp3,  &au,   &caf,  &wave64, &rf64};
  return handlers;
}

const AudioFileHandler* AudioFileHandlers::recognize(FStream& stream) {
  for (const AudioFileHandler* handler : all()) {
    const bool known = stream.seek(0) && handler->recognize(stream);
    if (known) return handler;
  }
  return nullptr;
}

const AudioFileHandler* AudioFileHandlers::recognizeFile(FStream& stream, const std::string& path) {
  for (const AudioFileHandler* handler : all()) {
    const bool known = stream.seek(0) && handler->recognizeFile(stream, path);
    if (known) return handler;
  }
  return nullptr;
}

const AudioFileHandler* AudioFileHandlers::byTypeName(const std::string& typeName) {
  for (const AudioFileHandler* handler : all()) {
    const auto& names = handler->info().typeNames;
    if (std::find(names.begin(), names.end(), typeName) != names.end()) return handler;
  }
  return nullptr;
}

}  // namespace vantor
