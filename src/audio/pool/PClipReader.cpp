#include "audio/pool/PClipReader.h"

#include <algorithm>

#include "audio/pool/PoolMessages.h"

namespace vantor {

PClipReader::PClipReader(FRef<AudioCluster> cluster, FRef<PClipMaterial> material)
    : cluster_(std::move(cluster)), material_(std::move(material)), channels_(cluster_->channels()) {}

PClipReader::~PClipReader() = default;

bool PClipReader::seekFrame(int64_t frame) {
  if (frame < 0 || frame > material_->length()) return false;
  position_ = frame;
  return true;
}

AudioFileReader* PClipReader::readerOf(int32_t file) {
  auto found = readers_.find(file);
  if (found != readers_.end()) return found->second.get();
  const auto& files = cluster_->files();
  if (file < 0 || static_cast<size_t>(file) >= files.size()) {
    error_ = kInvalidAudioFileMessage;
    errorPath_.clear();
    return nullptr;
  }
  auto reader = std::make_unique<AudioFileReader>();
  if (!reader->open(files[static_cast<size_t>(file)].path)) {
    // A file that is there but no handler reads is invalid; any other
    // failure (missing, no permission) is a file that cannot be opened.
    error_ = reader->error() == kInvalidAudioFileMessage ? kInvalidAudioFileMessage : kCannotOpenFileMessage;
    errorPath_ = files[static_cast<size_t>(file)].path;
    return nullptr;
  }
  return readers_.emplace(file, std::move(reader)).first->second.get();
}

bool PClipReader::readPiece(const PClipPiece& piece, int64_t offset, float* out, int64_t frames) {
  // The piece's file and, while the channels are not all given, the files
  // after it: each fills its channels of the interleaved frames.
  int channel = 0;
  for (int32_t file = piece.file; channel < channels_; ++file) {
    AudioFileReader* reader = readerOf(file);
    if (reader == nullptr) return false;
    const int fileChannels = reader->file().format.channels;
    const int64_t at = piece.start + offset;
    if (at + frames > reader->file().lengthFrames || !reader->seekFrame(at)) {
      error_ = kClipFileTooShort;
      errorPath_ = reader->file().path;
      return false;
    }
    scratch_.resize(static_cast<size_t>(frames * fileChannels));
    if (reader->readFrames(scratch_.data(), frames) != frames) {
      error_ = kClipFileTooShort;
      errorPath_ = reader->file().path;
      return false;
    }
    const int take = std::min(fileChannels, channels_ - channel);
    for (int64_t f = 0; f < frames; ++f) {
      const float* from = scratch_.data() + f * fileChannels;
      float* to = out + f * channels_ + channel;
      for (int c = 0; c < take; ++c) to[c] = from[c];
    }
    channel += take;
  }
  return true;
}

int64_t PClipReader::readFrames(float* samples, int64_t frames) {
  error_.clear();
  errorPath_.clear();
  int64_t done = 0;
  while (done < frames && position_ < material_->length()) {
    // The piece that holds the position.
    int64_t at = 0;
    const PClipPiece* piece = nullptr;
    for (const PClipPiece& candidate : material_->pieces()) {
      if (position_ < at + candidate.length) {
        piece = &candidate;
        break;
      }
      at += candidate.length;
    }
    const int64_t offset = position_ - at;
    const int64_t take = std::min(frames - done, piece->length - offset);
    float* out = samples + done * channels_;
    if (piece->isSilence()) {
      std::fill(out, out + take * channels_, 0.0f);
    } else if (!readPiece(*piece, offset, out, take)) {
      return -1;
    }
    position_ += take;
    done += take;
  }
  return done;
}

}  // namespace vantor
