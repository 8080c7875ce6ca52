#include "audio/pool/PMinimizeCommand.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "audio/files/AudioFileReader.h"
#include "audio/files/AudioFileWriter.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PFileCopy.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PoolMessages.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PMinimizeCommand, MCommand, 0)

namespace {

using Range = std::pair<int64_t, int64_t>;  // [first, end)

// Sorted, overlapping or touching ranges joined.
std::vector<Range> unite(std::vector<Range> ranges) {
  std::sort(ranges.begin(), ranges.end());
  std::vector<Range> out;
  for (const Range& r : ranges) {
    if (r.first >= r.second) continue;
    if (!out.empty() && r.first <= out.back().second) {
      out.back().second = std::max(out.back().second, r.second);
    } else {
      out.push_back(r);
    }
  }
  return out;
}

// The clip ranges the project uses: its events' ranges and its regions.
std::vector<Range> usedRanges(const MProject& project, const PAudioClip& clip) {
  std::vector<Range> ranges;
  for (const MAudioEvent* e : eventsUsing(project, &clip)) ranges.emplace_back(e->getClipStart(), e->getClipEnd());
  for (const auto& r : clip.regions()) ranges.emplace_back(r->getStart(), r->getEnd());
  return unite(std::move(ranges));
}

// The clip's material with the unused stretches made silence.
std::vector<PClipPiece> keptPieces(const PAudioClip& clip, const std::vector<Range>& used) {
  std::vector<PClipPiece> out;
  int64_t at = 0;
  for (const Range& r : used) {
    const int64_t from = std::min(r.first, clip.lengthFrames()), to = std::min(r.second, clip.lengthFrames());
    if (from > at) out.push_back(PClipPiece::silence(from - at));
    if (to > from) {
      const auto pieces = clip.getMaterial()->piecesIn(from, to - from);
      if (pieces) out.insert(out.end(), pieces->begin(), pieces->end());
    }
    at = std::max(at, to);
  }
  if (clip.lengthFrames() > at) out.push_back(PClipPiece::silence(clip.lengthFrames() - at));
  return out;
}

// Copies the ranges of source, back to back, into a new file in folder.
bool writeRanges(const AudioFile& source, const std::vector<Range>& ranges, const std::string& folder, AudioFile* out,
                 std::string* error) {
  AudioFileReader reader;
  if (!reader.open(source.path)) {
    *error = reader.error() == kInvalidAudioFileMessage ? kInvalidAudioFileMessage : kCannotOpenFileMessage;
    return false;
  }
  AudioFile target = reader.file();
  target.cues.clear();
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  const std::string path = freeFilePath(folder, std::filesystem::path(source.path).filename().string());
  AudioFileWriter writer;
  if (!writer.open(path, target)) {
    *error = writer.error();
    return false;
  }
  const int channels = target.format.channels;
  std::vector<float> block(static_cast<size_t>(16384 * channels));
  for (const Range& r : ranges) {
    if (!reader.seekFrame(r.first)) {
      *error = kInvalidAudioFileMessage;
      return false;
    }
    for (int64_t left = r.second - r.first; left > 0;) {
      const int64_t got = reader.readFrames(block.data(), std::min<int64_t>(left, 16384));
      if (got <= 0 || !writer.writeFrames(block.data(), got)) {
        *error = got <= 0 ? std::string(kInvalidAudioFileMessage) : writer.error();
        return false;
      }
      left -= got;
    }
  }
  if (!writer.close()) {
    *error = writer.error();
    return false;
  }
  *out = writer.file();
  out->path = path;
  return true;
}

// Where a file frame lands in the minimized file: the kept ranges of that
// file, and their offsets there.
int64_t mapFrame(const std::vector<Range>& kept, int64_t frame) {
  int64_t offset = 0;
  for (const Range& r : kept) {
    if (frame >= r.first && frame < r.second) return offset + frame - r.first;
    offset += r.second - r.first;
  }
  return offset;
}

PMinimizeCommand::State stateOf(const PMinimizeCommand::Target& t) {
  PMinimizeCommand::State state;
  state.files = t.cluster->files();
  for (const auto& clip : t.clips) {
    state.materials.push_back(clip->materialRef());
    state.histories.push_back(FRef<CmObject>::share(clip->getHistory()));
  }
  return state;
}

void removeFiles(const std::vector<std::string>& paths) {
  std::error_code ec;
  for (const std::string& path : paths) std::filesystem::remove(path, ec);
}

// Builds the minimized state of one cluster; false with *error.
bool minimizeCluster(const MProject& project, PAudioPool& pool, PMinimizeCommand::Target& t,
                     std::vector<std::string>* made, std::string* error) {
  const int32_t groups = t.cluster->channelGroups();
  std::vector<std::vector<PClipPiece>> kept;
  std::map<int32_t, std::vector<Range>> fileRanges;  // by the file a piece names
  for (const auto& clip : t.clips) {
    kept.push_back(keptPieces(*clip, usedRanges(project, *clip)));
    for (const PClipPiece& p : kept.back()) {
      if (!p.isSilence()) fileRanges[p.file].emplace_back(p.start, p.start + p.length);
    }
  }
  for (auto& [file, ranges] : fileRanges) ranges = unite(std::move(ranges));
  // A piece of a split file reads the files after it as well: each gets
  // the same ranges.
  std::map<int32_t, std::vector<Range>> perFile;
  for (const auto& [file, ranges] : fileRanges) {
    const int32_t width = file < groups ? groups - file : 1;
    for (int32_t f = file; f < file + width; ++f) {
      auto& all = perFile[f];
      all.insert(all.end(), ranges.begin(), ranges.end());
      all = unite(std::move(all));
    }
  }
  std::vector<AudioFile> files = t.cluster->files();
  for (const auto& [file, ranges] : perFile) {
    if (file < 0 || static_cast<size_t>(file) >= files.size()) return false;
    AudioFile written;
    if (!writeRanges(files[static_cast<size_t>(file)], ranges, audioFolderOf(pool), &written, error)) return false;
    made->push_back(written.path);
    files[static_cast<size_t>(file)] = std::move(written);
  }
  t.other.files = std::move(files);
  for (auto& pieces : kept) {
    for (PClipPiece& p : pieces) {
      if (!p.isSilence()) p.start = mapFrame(perFile[p.file], p.start);
    }
    t.other.materials.push_back(makeRef<PClipMaterial>(std::move(pieces)));
    t.other.histories.push_back(nullptr);
  }
  return true;
}

}  // namespace

bool PMinimizeCommand::exchange() {
  if (targets_.empty()) return refuse("");
  for (Target& t : targets_) {
    State now = stateOf(t);
    t.cluster->files() = t.other.files;
    for (size_t i = 0; i < t.clips.size(); ++i) {
      t.clips[i]->setMaterial(t.other.materials[i]);
      t.clips[i]->setHistory(t.other.histories[i]);
    }
    t.other = std::move(now);
  }
  return true;
}

FRef<MCommand> makeMinimizeCommand(const MProject& project, PAudioPool& pool,
                                   const std::vector<FRef<PAudioClip>>& clips, FUserMessages& messages,
                                   std::string* error) {
  error->clear();
  if (clips.empty() || messages.ask(kMinimizeQuestion, {"Yes", "No"}, 1) != 0) return nullptr;
  std::vector<PMinimizeCommand::Target> targets;
  std::vector<std::string> made;
  for (const auto& chosen : clips) {
    AudioCluster* cluster = chosen->getCluster();
    if (std::any_of(targets.begin(), targets.end(), [&](const auto& t) { return t.cluster.get() == cluster; })) {
      continue;
    }
    PMinimizeCommand::Target target;
    target.cluster = FRef<AudioCluster>::share(cluster);
    // Every clip of the pool that shares the files is minimized with them.
    for (const auto& clip : pool.clips()) {
      if (clip->getCluster() == cluster) target.clips.push_back(clip);
    }
    if (!minimizeCluster(project, pool, target, &made, error)) {
      if (error->empty()) *error = kInvalidAudioFileMessage;
      removeFiles(made);
      return nullptr;
    }
    targets.push_back(std::move(target));
  }
  return FRef<MCommand>(new PMinimizeCommand(std::move(targets)));
}

bool askSaveAfterMinimize(FUserMessages& messages) {
  return messages.ask(kSaveNowQuestion, {kSaveNowChoice, kLaterChoice}, 1) == 0;
}

}  // namespace vantor
