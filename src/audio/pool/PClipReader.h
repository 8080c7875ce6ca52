#pragma once
// Reads a clip's material as 32-bit float frames, interleaved over the
// clip's channels, block by block: each piece is read from its file through
// AudioFileReader (never a whole file in memory), silence pieces give
// zeros. A file with fewer channels than the clip is read together with the
// files after it in the cluster (split stereo), their channels side by side.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/pool/AudioCluster.h"
#include "audio/pool/PClipMaterial.h"
#include "foundation/FRef.h"

namespace vantor {

class PClipReader {
 public:
  // Reads material of cluster. Both are held for the reader's life; the
  // files are opened when first needed.
  PClipReader(FRef<AudioCluster> cluster, FRef<PClipMaterial> material);
  PClipReader(const PClipReader&) = delete;
  PClipReader& operator=(const PClipReader&) = delete;
  ~PClipReader();

  int channels() const { return channels_; }
  int64_t length() const { return material_->length(); }
  int64_t position() const { return position_; }

  // Reads up to frames frames into samples (frames × channels() floats).
  // Returns the frames read: fewer only at the end of the material, or -1
  // when a file is missing or cannot be read: error() then holds the
  // system's message ("Error: Can not open file!" for a file that is missing
  // or may not be read, "Error: Invalid or unsupported file!" for one no
  // handler reads or that is shorter than its pieces) and errorPath() the
  // file; the position stays at the first frame not delivered.
  int64_t readFrames(float* samples, int64_t frames);
  // Moves to a frame between 0 and length(); false beyond it.
  [[nodiscard]] bool seekFrame(int64_t frame);
  const std::string& error() const { return error_; }
  const std::string& errorPath() const { return errorPath_; }

 private:
  // The open reader of a cluster file, or nullptr (error_ set).
  AudioFileReader* readerOf(int32_t file);
  // Reads frames of one file piece at offset into the piece.
  bool readPiece(const PClipPiece& piece, int64_t offset, float* out, int64_t frames);

  FRef<AudioCluster> cluster_;
  FRef<PClipMaterial> material_;
  int channels_ = 0;
  int64_t position_ = 0;
  std::map<int32_t, std::unique_ptr<AudioFileReader>> readers_;
  std::vector<float> scratch_;
  std::string error_;
  std::string errorPath_;
};

}  // namespace vantor
