#include "audio/pool/PRelinkFilesCommand.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "audio/files/AudioFileReader.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PRelinkFilesCommand, MCommand, 0)

namespace {

std::string channelCount(int channels) { return std::to_string(channels) + (channels == 1 ? " channel" : " channels"); }

// A rate in Hz as people write it: "44100", "22050.5".
std::string hertz(double rate) {
  std::ostringstream text;
  text << rate << " Hz";
  return text.str();
}

// The frames the material of cluster's clips reads from each of its files.
// A piece names its first file; while the clip's channels are not all
// given, the files after it are read at the same frames (split stereo).
std::vector<int64_t> framesUsed(const PAudioPool& pool, const AudioCluster& cluster) {
  const auto& files = cluster.files();
  std::vector<int64_t> used(files.size(), 0);
  for (const auto& clip : pool.clips()) {
    if (clip->getCluster() != &cluster) continue;
    for (const PClipPiece& piece : clip->getMaterial()->pieces()) {
      if (piece.isSilence()) continue;
      int channel = 0;
      for (size_t f = static_cast<size_t>(piece.file); f < files.size() && channel < cluster.channels(); ++f) {
        used[f] = std::max(used[f], piece.start + piece.length);
        channel += std::max<int>(files[f].format.channels, 1);
      }
    }
  }
  return used;
}

// Why found cannot stand for missing, or "" when it can; *record is then
// the new file's record.
std::string refusalOf(const AudioFile& missing, const std::string& found, int64_t framesNeeded, AudioFile* record) {
  AudioFileReader reader;
  if (!reader.open(found)) return "\"" + found + "\": " + reader.error();
  const AudioFile& file = reader.file();
  const std::string prefix = "\"" + found + "\" cannot replace \"" + missing.path + "\": ";
  if (file.format.channels != missing.format.channels) {
    return prefix + "it has " + channelCount(file.format.channels) + ", not " + channelCount(missing.format.channels);
  }
  if (file.format.sampleRate != missing.format.sampleRate) {
    return prefix + "its sample rate is " + hertz(file.format.sampleRate) + ", not " + hertz(missing.format.sampleRate);
  }
  if (file.lengthFrames < framesNeeded) {
    return prefix + "it holds " + std::to_string(file.lengthFrames) + " frames, the clip uses " +
           std::to_string(framesNeeded);
  }
  *record = file;
  record->path = found;
  return "";
}

}  // namespace

std::vector<std::string> missingFilePaths(const PAudioPool& pool) {
  std::vector<std::string> paths;
  std::error_code ec;
  for (const auto& clip : pool.clips()) {
    for (const AudioFile& file : clip->getCluster()->files()) {
      if (std::filesystem::is_regular_file(file.path, ec)) continue;
      if (std::find(paths.begin(), paths.end(), file.path) == paths.end()) paths.push_back(file.path);
    }
  }
  return paths;
}

PRelinkFilesCommand::PRelinkFilesCommand(std::vector<Target> targets) : targets_(std::move(targets)) {}

bool PRelinkFilesCommand::exchange() {
  if (targets_.empty()) return refuse("");
  for (const Target& t : targets_) {
    if (!t.cluster || t.file >= t.cluster->files().size()) return refuse("");
  }
  for (Target& t : targets_) std::swap(t.cluster->files()[t.file], t.other);
  return true;
}

FRef<MCommand> makeRelinkFilesCommand(const PAudioPool& pool, const std::map<std::string, std::string>& resolved,
                                      std::vector<PRelinkRefusal>* refused) {
  refused->clear();
  std::vector<PRelinkFilesCommand::Target> targets;
  std::vector<const AudioCluster*> seen;
  for (const auto& clip : pool.clips()) {
    AudioCluster* cluster = clip->getCluster();
    if (std::find(seen.begin(), seen.end(), cluster) != seen.end()) continue;
    seen.push_back(cluster);
    const std::vector<int64_t> used = framesUsed(pool, *cluster);
    for (size_t f = 0; f < cluster->files().size(); ++f) {
      const AudioFile& file = cluster->files()[f];
      const auto found = resolved.find(file.path);
      if (found == resolved.end()) continue;
      AudioFile record;
      std::string reason = refusalOf(file, found->second, used[f], &record);
      if (!reason.empty()) {
        refused->push_back({file.path, found->second, std::move(reason)});
        continue;
      }
      targets.push_back({FRef<AudioCluster>::share(cluster), f, std::move(record)});
    }
  }
  if (targets.empty()) return nullptr;
  return FRef<MCommand>(new PRelinkFilesCommand(std::move(targets)));
}

}  // namespace vantor
