#include "audio/process/PClipProcessor.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "audio/files/AudioFileWriter.h"
#include "audio/pool/PClipReader.h"
#include "audio/process/PProcessMessages.h"
#include "audio/process/PWorkRunner.h"

namespace vantor {

namespace {

// Reads a range of a clip's material through PClipReader.
class ClipRangeSource : public PFrameSource {
 public:
  ClipRangeSource(PClipReader& reader, int64_t start) : reader_(reader), start_(start) {}
  bool rewind() override { return reader_.seekFrame(start_); }
  int64_t read(float* out, int64_t frames) override { return reader_.readFrames(out, frames); }

 private:
  PClipReader& reader_;
  int64_t start_;
};

// Copies its input: the work of flattening.
class CopyWork : public PAudioWork {
 public:
  void process(const float* in, float* out, int64_t frames) override {
    if (in != out) std::copy(in, in + frames * channels(), out);
  }
};

// Letters, digits, '-' and '_' of a name; the rest (blanks too, so that
// the names need no quoting in a shell) as '_'.
std::string fileNamePart(const std::string& name) {
  std::string part;
  for (char c : name) {
    const bool plain = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
    part += plain ? c : '_';
  }
  return part.empty() ? std::string("Audio") : part;
}

}  // namespace

PClipProcessor::PClipProcessor(const PAudioClip& clip, std::string folder, FUserMessages& messages)
    : clipName_(clip.getName()), folder_(std::move(folder)), messages_(messages) {
  const AudioCluster& cluster = *clip.getCluster();
  channelGroups_ = cluster.channelGroups();
  channels_ = cluster.channels();
  sampleRate_ = cluster.sampleRate();
  state_.files = cluster.files();
  state_.material = FRef<PClipMaterial>(new PClipMaterial(clip.getMaterial()->pieces()));
  const auto* history = dynamic_cast<const PEditHistory*>(clip.getHistory());
  state_.history = history != nullptr ? history->clone() : FRef<PEditHistory>(new PEditHistory);
}

PClipProcessor::~PClipProcessor() {
  for (const std::string& path : written_) ::unlink(path.c_str());
}

PClipState PClipProcessor::takeState() {
  written_.clear();
  return state_;
}

FRef<AudioCluster> PClipProcessor::readingCluster() const {
  FRef<AudioCluster> cluster(new AudioCluster);
  cluster->files() = state_.files;
  cluster->setChannelGroups(channelGroups_);
  return cluster;
}

std::string PClipProcessor::freePath(const std::string& label) const {
  const std::string stem =
      (std::filesystem::path(folder_) / "").string() + fileNamePart(clipName_) + "-" + fileNamePart(label) + "-";
  std::error_code ec;
  for (int n = 1;; ++n) {
    std::string path = stem + std::to_string(n) + ".wav";
    if (!std::filesystem::exists(path, ec)) return path;
  }
}

bool PClipProcessor::render(PAudioWork* work, int64_t start, int64_t length, const std::string& label, int32_t* file,
                            std::string* error) {
  AudioFile target;
  target.typeName = "WAVE";
  target.format.sampleRate = static_cast<float>(sampleRate_);
  target.format.channels = static_cast<int16_t>(channels_);
  target.format.bitsPerSample = 32;
  target.format.sampleType = SampleType::kFloat;
  const std::string path = freePath(label);
  AudioFileWriter writer;
  if (!writer.open(path, target)) return (*error = writer.error(), false);
  PClipReader reader(readingCluster(), state_.material);
  ClipRangeSource source(reader, start);
  const PFrameSink sink = [&writer, error](const float* samples, int64_t frames) {
    return writer.writeFrames(samples, frames) || (*error = writer.error(), false);
  };
  PRunOptions options;
  options.progress = progress_;
  CopyWork copy;
  messages_.report(FUserMessages::Severity::kInfo, kProcessingMessage);
  if (!runWork(work != nullptr ? *work : copy, target.format, length, source, sink, error, options)) {
    if (!reader.error().empty()) *error = reader.error() + " " + reader.errorPath();
    return false;
  }
  messages_.report(FUserMessages::Severity::kInfo, kWritingFileMessage);
  if (!writer.close()) return (*error = writer.error(), false);
  written_.push_back(path);
  AudioFile written = writer.file();
  written.path = path;
  state_.files.push_back(written);
  *file = static_cast<int32_t>(state_.files.size() - 1);
  return true;
}

bool PClipProcessor::apply(const PAudioProcess& process, int64_t start, int64_t length, std::string* error) {
  if (start < 0 || length <= 0 || start > state_.material->length() - length) {
    *error = "The range lies outside the clip.";
    return false;
  }
  std::unique_ptr<PAudioWork> work = process.createWork();
  if (!process.changesAudio()) return analyze(*work, start, length, error);
  int32_t file = 0;
  if (!render(work.get(), start, length, process.displayName(), &file, error)) return false;
  std::optional<std::vector<PClipPiece>> replaced =
      state_.material->replaceRange(start, length, {PClipPiece::ofFile(file, 0, length)});
  if (!replaced) return (*error = "The range lies outside the clip.", false);
  state_.history->append({process.getClassName(), process.copyParameters(), start, length, file, *replaced});
  return true;
}

bool PClipProcessor::analyze(PAudioWork& work, int64_t start, int64_t length, std::string* error) {
  if (start < 0 || length <= 0 || start > state_.material->length() - length) {
    *error = "The range lies outside the clip.";
    return false;
  }
  PClipReader reader(readingCluster(), state_.material);
  ClipRangeSource source(reader, start);
  AudioFormat format;
  format.channels = static_cast<int16_t>(channels_);
  format.sampleRate = static_cast<float>(sampleRate_);
  PRunOptions options;
  options.progress = progress_;
  const PFrameSink discard = [](const float*, int64_t) { return true; };
  if (runWork(work, format, length, source, discard, error, options)) return true;
  if (!reader.error().empty()) *error = reader.error() + " " + reader.errorPath();
  return false;
}

bool PClipProcessor::rewindTo(size_t index, std::vector<PEditHistoryEntry>* removed) {
  const std::vector<PEditHistoryEntry>& entries = state_.history->entries();
  if (index >= entries.size()) return false;
  for (size_t i = entries.size(); i-- > index;) {
    const PEditHistoryEntry& entry = entries[i];
    if (!state_.material->replaceRange(entry.start, entry.length, entry.replaced)) return false;
  }
  removed->assign(entries.begin() + static_cast<std::ptrdiff_t>(index), entries.end());
  state_.history->truncate(index);
  return true;
}

bool PClipProcessor::replay(const std::vector<PEditHistoryEntry>& entries, std::string* error) {
  for (const PEditHistoryEntry& entry : entries) {
    FRef<PAudioProcess> process = PAudioProcess::create(entry.processClass);
    if (!process || !process->restoreParameters(*entry.parameters, error)) return false;
    if (!apply(*process, entry.start, entry.length, error)) return false;
  }
  return true;
}

bool PClipProcessor::flatten(std::string* error) {
  const int64_t length = state_.material->length();
  int32_t file = 0;
  messages_.report(FUserMessages::Severity::kInfo, kFlatteningMessage);
  if (!render(nullptr, 0, length, "Flattened", &file, error)) return false;
  state_.material = FRef<PClipMaterial>(new PClipMaterial({PClipPiece::ofFile(file, 0, length)}));
  state_.history = FRef<PEditHistory>(new PEditHistory);
  return true;
}

}  // namespace vantor
