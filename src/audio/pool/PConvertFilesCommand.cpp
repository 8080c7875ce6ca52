#include "audio/pool/PConvertFilesCommand.h"

#include <cmath>
#include <filesystem>

#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PFileCopy.h"
#include "audio/pool/PPoolOperations.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PConvertFilesCommand, MCommand, 0)

namespace {

int64_t scaled(int64_t frames, double factor) { return std::llround(static_cast<double>(frames) * factor); }

PConvertFilesCommand::State currentState(const PConvertFilesCommand::Target& t) {
  PConvertFilesCommand::State state;
  state.files = t.cluster->files();
  for (const auto& clip : t.clips) {
    state.materials.push_back(clip->getMaterial()->pieces());
    std::vector<std::pair<int64_t, int64_t>> regions;
    for (const auto& r : clip->regions()) regions.emplace_back(r->getStart(), r->getLength());
    state.regions.push_back(std::move(regions));
    state.histories.push_back(FRef<CmObject>::share(clip->getHistory()));
  }
  for (const auto& e : t.events) state.eventRanges.emplace_back(e->getClipStart(), e->getClipLength());
  if (auto factor = t.cluster->rateChangeFactor()) {
    state.hasFactor = true;
    state.factor = *factor;
  }
  return state;
}

// The state after the conversion: the new files, every position scaled.
PConvertFilesCommand::State convertedState(const PConvertFilesCommand::State& now, std::vector<AudioFile> files,
                                           double factor) {
  PConvertFilesCommand::State out = now;
  out.files = std::move(files);
  for (auto& pieces : out.materials) {
    for (PClipPiece& p : pieces) {
      // Both ends are scaled, so neighbouring pieces still meet.
      const int64_t start = scaled(p.start, factor), end = scaled(p.start + p.length, factor);
      p.start = p.isSilence() ? 0 : start;
      p.length = p.isSilence() ? scaled(p.length, factor) : end - start;
    }
  }
  for (auto& regions : out.regions) {
    for (auto& [start, length] : regions) {
      const int64_t end = scaled(start + length, factor);
      start = scaled(start, factor);
      length = end - start;
    }
  }
  for (auto& [start, length] : out.eventRanges) {
    const int64_t end = scaled(start + length, factor);
    start = scaled(start, factor);
    length = end - start;
  }
  if (factor != 1.0) {
    // The history's ranges and replaced pieces are frames of the old rate:
    // taking an entry back after the change would put pieces at the wrong
    // places, so the history goes (and comes back with undo).
    for (auto& history : out.histories) history = nullptr;
    out.hasFactor = true;
    out.factor = (now.hasFactor ? now.factor : 1.0) * factor;
  }
  return out;
}

void apply(const PConvertFilesCommand::Target& t, const PConvertFilesCommand::State& state) {
  t.cluster->files() = state.files;
  for (size_t i = 0; i < t.clips.size(); ++i) {
    t.clips[i]->setMaterial(makeRef<PClipMaterial>(state.materials[i]));
    t.clips[i]->setHistory(state.histories[i]);
    for (size_t r = 0; r < t.clips[i]->regions().size() && r < state.regions[i].size(); ++r) {
      t.clips[i]->regions()[r]->setStart(state.regions[i][r].first);
      t.clips[i]->regions()[r]->setLength(state.regions[i][r].second);
    }
  }
  for (size_t i = 0; i < t.events.size(); ++i) {
    t.events[i]->setClipRange(state.eventRanges[i].first, state.eventRanges[i].second);
  }
  if (state.hasFactor) {
    t.cluster->setRateChangeFactor(state.factor);
  } else {
    (void)t.cluster->attributes().remove(AudioClusterKey::kClipRateChanged);
  }
}

void removeFiles(const std::vector<std::string>& paths) {
  std::error_code ec;
  for (const std::string& path : paths) std::filesystem::remove(path, ec);
}

}  // namespace

AudioConversion projectConversion(double projectRate, int projectBits) {
  AudioConversion conversion;
  conversion.sampleRate = projectRate;
  conversion.width = projectBits == 16   ? SampleWidth::kInteger16
                     : projectBits == 24 ? SampleWidth::kInteger24
                     : projectBits == 32 ? SampleWidth::kFloat32
                                         : SampleWidth::kSource;
  return conversion;
}

bool needsConversion(const AudioFile& file, const AudioConversion& conversion) {
  const AudioFile target = AudioFileConverter::targetFor(file, conversion);
  return target.format.sampleRate != file.format.sampleRate ||
         target.format.bitsPerSample != file.format.bitsPerSample ||
         target.format.sampleType != file.format.sampleType || target.typeName != file.typeName;
}

bool convertInto(const AudioFile& file, const AudioConversion& conversion, const std::string& folder, AudioFile* out,
                 std::string* error) {
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  const std::string target = freeFilePath(folder, std::filesystem::path(file.path).filename().string());
  AudioFileConverter converter;
  if (!converter.convert(file.path, target, conversion)) {
    *error = converter.error();
    return false;
  }
  *out = converter.result();
  out->path = target;
  return true;
}

PConvertFilesCommand::PConvertFilesCommand(std::vector<Target> targets, std::string description)
    : targets_(std::move(targets)), description_(std::move(description)) {}

bool PConvertFilesCommand::exchange() {
  if (targets_.empty()) return refuse("");
  for (Target& t : targets_) {
    State now = currentState(t);
    apply(t, t.other);
    t.other = std::move(now);
  }
  return true;
}

FRef<MCommand> makeConvertFilesCommand(MProject& project, PAudioPool& pool, const std::vector<FRef<PAudioClip>>& clips,
                                       const AudioConversion& conversion, const std::string& description,
                                       std::string* error) {
  error->clear();
  std::vector<PConvertFilesCommand::Target> targets;
  std::vector<std::string> made;
  for (const auto& chosen : clips) {
    AudioCluster* cluster = chosen->getCluster();
    bool seen = false;
    for (const auto& t : targets) seen = seen || t.cluster.get() == cluster;
    if (seen) continue;
    bool needed = false;
    for (const AudioFile& file : cluster->files()) needed = needed || needsConversion(file, conversion);
    if (!needed) continue;
    PConvertFilesCommand::Target target;
    target.cluster = FRef<AudioCluster>::share(cluster);
    for (const auto& clip : pool.clips()) {
      if (clip->getCluster() != cluster) continue;
      target.clips.push_back(clip);
      for (MAudioEvent* e : eventsUsing(project, clip.get())) target.events.push_back(FRef<MAudioEvent>::share(e));
    }
    std::vector<AudioFile> files;
    for (const AudioFile& file : cluster->files()) {
      AudioFile converted;
      if (!needsConversion(file, conversion)) {
        files.push_back(file);
        continue;
      }
      if (!convertInto(file, conversion, audioFolderOf(pool), &converted, error)) {
        removeFiles(made);
        return nullptr;
      }
      made.push_back(converted.path);
      files.push_back(std::move(converted));
    }
    const double factor = files.front().format.sampleRate / cluster->files().front().format.sampleRate;
    target.other = convertedState(currentState(target), std::move(files), factor);
    targets.push_back(std::move(target));
  }
  if (targets.empty()) return nullptr;
  return FRef<MCommand>(new PConvertFilesCommand(std::move(targets), description));
}

}  // namespace vantor
