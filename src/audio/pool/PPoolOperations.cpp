#include "audio/pool/PPoolOperations.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PoolMessages.h"
#include "model/edit/MInsertCommand.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"

namespace vantor {

namespace {

constexpr const char* kInsertAtNames[] = {kInsertAtCursor, kInsertAtOrigin, kInsertAtTimecode};

// The distinct clusters of the pool's clips, in clip order.
std::vector<const AudioCluster*> clustersOf(const PAudioPool& pool) {
  std::vector<const AudioCluster*> out;
  for (const auto& clip : pool.clips()) {
    if (std::find(out.begin(), out.end(), clip->getCluster()) == out.end()) out.push_back(clip->getCluster());
  }
  return out;
}

bool isInside(const std::string& path, const std::string& folder) {
  if (folder.empty()) return false;
  const auto p = std::filesystem::path(path).lexically_normal();
  const auto f = std::filesystem::path(folder).lexically_normal();
  auto [end, ignored] = std::mismatch(f.begin(), f.end(), p.begin(), p.end());
  return end == f.end() || (std::next(end) == f.end() && end->empty());
}

std::string freeClipName(const PAudioPool& pool, const std::string& base) {
  for (int n = 2;; ++n) {
    std::string name = base + " " + std::to_string(n);
    if (pool.findClip(name) == nullptr) return name;
  }
}

}  // namespace

std::vector<MAudioEvent*> eventsUsing(const MProject& project, const PAudioClip* clip) {
  std::vector<MAudioEvent*> out;
  project.forEachEvent([&](MEvent& event) {
    auto* audio = dynamic_cast<MAudioEvent*>(&event);
    if (audio != nullptr && audio->getClip() == clip) out.push_back(audio);
  });
  return out;
}

std::map<const PAudioClip*, size_t> clipUsage(const MProject& project) {
  std::map<const PAudioClip*, size_t> out;
  project.forEachEvent([&](MEvent& event) {
    if (auto* audio = dynamic_cast<MAudioEvent*>(&event); audio != nullptr && audio->getClip() != nullptr) {
      ++out[audio->getClip()];
    }
  });
  return out;
}

bool hasMissingFile(const PAudioClip& clip) {
  std::error_code ec;
  for (const AudioFile& file : clip.getCluster()->files()) {
    if (!std::filesystem::is_regular_file(file.path, ec)) return true;
  }
  return false;
}

FRef<MCommand> makeRemoveClipsCommand(MProject& project, PAudioPool& pool, std::vector<FRef<PAudioClip>> clips,
                                      const std::string& description, FUserMessages& messages) {
  if (clips.empty()) return nullptr;
  std::vector<FRef<MEvent>> events;
  for (const auto& clip : clips) {
    std::vector<MAudioEvent*> users = eventsUsing(project, clip.get());
    if (users.empty()) continue;
    const std::string question = formatMessage(kClipIsUsedQuestion, {clip->getName()});
    if (messages.ask(question, {"Remove", "Cancel"}, 1) != 0) return nullptr;
    for (MAudioEvent* user : users) events.push_back(FRef<MEvent>::share(user));
  }
  auto remove = FRef<MCommand>(new PRemoveClipsCommand(FRef<PAudioPool>::share(&pool), std::move(clips), description));
  if (events.empty()) return remove;
  auto macro = makeRef<MMacroCommand>(description);
  if (!macro->add(FRef<MCommand>(new MRemoveCommand(std::move(events)))) || !macro->add(std::move(remove))) {
    return nullptr;
  }
  return macro;
}

FRef<MCommand> makeRemoveUnusedCommand(const MProject& project, PAudioPool& pool) {
  const auto usage = clipUsage(project);
  std::vector<FRef<PAudioClip>> unused;
  for (const auto& clip : pool.clips()) {
    if (usage.find(clip.get()) == usage.end()) unused.push_back(clip);
  }
  if (unused.empty()) return nullptr;
  return FRef<MCommand>(
      new PRemoveClipsCommand(FRef<PAudioPool>::share(&pool), std::move(unused), "Remove Unused Media"));
}

FRef<MCommand> makeRemoveMissingCommand(MProject& project, PAudioPool& pool, FUserMessages& messages) {
  std::vector<FRef<PAudioClip>> missing;
  for (const auto& clip : pool.clips()) {
    if (hasMissingFile(*clip)) missing.push_back(clip);
  }
  return makeRemoveClipsCommand(project, pool, std::move(missing), "Remove Missing Files", messages);
}

FRef<MCommand> makeNewVersionCommand(PAudioPool& pool, PAudioClip& clip) {
  auto version = makeRef<PAudioClip>();
  version->setName(freeClipName(pool, clip.getName()));
  version->setCluster(clip.clusterRef());
  version->setMaterial(makeRef<PClipMaterial>(clip.getMaterial()->pieces()));
  for (const auto& region : clip.regions()) version->addRegion(makeRef<MRegionMarker>(*region));
  GTreeEntry* folder = pool.tree().root()->findClipEntry(clip.getPoolID());
  return FRef<MCommand>(
      new PAddClipsCommand(FRef<PAudioPool>::share(&pool), {version}, FRef<GTreeEntry>::share(folder), "New Version"));
}

FRef<MCommand> makeCreateRegionsCommand(PAudioClip& clip, std::vector<FRef<MRegionMarker>> regions) {
  if (regions.empty()) return nullptr;
  for (const auto& region : regions) {
    if (!region || region->getEnd() > clip.lengthFrames()) return nullptr;
  }
  return FRef<MCommand>(new PAddRegionsCommand(FRef<PAudioClip>::share(&clip), std::move(regions)));
}

const char* insertAtName(PInsertAt at) { return kInsertAtNames[static_cast<int>(at)]; }

FRef<MCommand> makeInsertClipCommand(MProject& project, MTrackEvent& track, PAudioClip& clip, PInsertAt at,
                                     double position, int64_t clipStart, int64_t clipLength,
                                     std::optional<double> origin, std::string* error) {
  const double rate = clip.getCluster()->sampleRate();
  if (clipLength < 0) clipLength = clip.lengthFrames() - clipStart;
  if (clipStart < 0 || clipLength <= 0 || clipStart + clipLength > clip.lengthFrames() || rate <= 0) {
    *error = kInvalidAudioFileMessage;
    return nullptr;
  }
  if (at == PInsertAt::kOrigin) position = origin.value_or(clip.getCluster()->originTime().value_or(0.0));
  const MTempoTrackNode* tempo = project.getTempoNode();
  // The part lasts as long as the frames play: from the start's time on,
  // clipLength / rate seconds, turned back into pulses through the tempo map.
  double length = static_cast<double>(clipLength) / rate * 960.0;  // 120 BPM without a tempo map
  if (tempo != nullptr) {
    length = tempo->pulsesAt(tempo->secondsAt(position) + static_cast<double>(clipLength) / rate) - position;
  }
  auto part = makeRef<MAudioPartEvent>();
  part->setName(clip.getName());
  part->setStart(position);
  part->setLength(length);
  auto event = makeRef<MAudioEvent>(FRef<PAudioClip>::share(&clip), clipStart, clipLength);
  event->setLength(length);
  static_cast<MPartNode*>(part->getNode())->list().insert(event);
  return FRef<MCommand>(new MInsertCommand(FRef<MEvent>::share(&track), FRef<MEvent>(std::move(part))));
}

size_t selectInProject(MProject& project, const PAudioClip& clip) {
  size_t count = 0;
  project.forEachEvent([&](MEvent& event) {
    auto* audio = dynamic_cast<MAudioEvent*>(&event);
    if (audio == nullptr) return;
    const bool uses = audio->getClip() == &clip;
    audio->setFlag(MEventFlag::kSelected, uses);
    count += uses ? 1 : 0;
  });
  return count;
}

std::optional<PRegionDescription> describeRegion(const PAudioClip& clip, const MRegionMarker& region, int32_t id) {
  const auto pieces = clip.getMaterial()->piecesIn(region.getStart(), region.getLength());
  if (!pieces) return std::nullopt;
  const auto& files = clip.getCluster()->files();
  auto nameOf = [&](int32_t file) {
    return file >= 0 && static_cast<size_t>(file) < files.size() ? files[static_cast<size_t>(file)].path
                                                                 : std::string();
  };
  PRegionDescription out;
  out.id = id;
  if (pieces->size() == 1 && !pieces->front().isSilence()) {
    out.fileName = nameOf(pieces->front().file);
    out.start = pieces->front().start;
    out.end = out.start + pieces->front().length;
    return out;
  }
  out.joined = true;
  for (const PClipPiece& piece : *pieces) {
    out.segments.push_back(
        {piece.isSilence(), piece.isSilence() ? std::string() : nameOf(piece.file), piece.start, piece.length});
  }
  return out;
}

PPoolInfo poolInfo(const MProject& project, const PAudioPool& pool) {
  PPoolInfo info;
  const auto usage = clipUsage(project);
  for (const auto& clip : pool.clips()) info.used += usage.count(clip.get()) > 0 ? 1 : 0;
  // A file counts once, also when clusters of clips taken from a library
  // name it a second time.
  std::set<std::string> seen;
  for (const AudioCluster* cluster : clustersOf(pool)) {
    for (const AudioFile& file : cluster->files()) {
      if (!seen.insert(file.path).second) continue;
      ++info.audiofiles;
      info.totalBytes += file.lengthFrames * file.format.blockAlign();
      if (!isInside(file.path, pool.getWorkingDirectory())) ++info.externFiles;
    }
  }
  return info;
}

std::string formatSize(int64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " Bytes";
  const char* units[] = {"KB", "MB", "GB", "TB"};
  double value = static_cast<double>(bytes) / 1024.0;
  int unit = 0;
  while (value >= 1024.0 && unit < 3) {
    value /= 1024.0;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.2f %s", value, units[unit]);
  return text;
}

std::string formatPoolInfo(const PPoolInfo& info) {
  return formatCount(kInfoAudiofiles, info.audiofiles) + "   " + formatCount(kInfoUsed, info.used) + "   " +
         formatMessage(kInfoTotalSize, {formatSize(info.totalBytes)}) + "   " +
         formatCount(kInfoExternFiles, info.externFiles);
}

}  // namespace vantor
