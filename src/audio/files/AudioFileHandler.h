#pragma once
// The interface of a container format's file handler, and the registry of
// handlers with their type names, display names, MIME types and extensions.
//
// A handler never reads or writes sample data: it reads a header into an
// AudioFile, writes a fresh header for a new file (and the companion file
// of a format that has one) and fixes the sizes up once the samples are
// written. AudioFileReader and AudioFileWriter move the samples; for a
// compressed format the handler hands the reader a decoder instead.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio/files/AudioFile.h"
#include "audio/files/AudioSampleSource.h"
#include "foundation/FStream.h"

namespace vantor {

// A file that belongs beside an audio file (the resource part of an SDII
// file): where it goes and what it holds.
struct AudioFileCompanion {
  std::string path;
  std::vector<uint8_t> bytes;
};

class AudioFileHandler {
 public:
  struct Info {
    std::vector<std::string> typeNames;
    std::vector<std::string> displayNames;
    std::vector<std::string> mimeTypes;
    std::vector<std::string> extensions;
  };

  virtual ~AudioFileHandler() = default;
  virtual const Info& info() const = 0;

  // Whether the bytes at the stream's start carry this handler's container
  // and form identifiers. Moves the stream's position.
  [[nodiscard]] virtual bool recognize(FStream& stream) const = 0;
  // Whether the file at path, open in stream, is this handler's. Formats
  // known by more than their first bytes (a companion file beside them, a
  // name) look at path too; the others answer as recognize(). Moves the
  // stream's position.
  [[nodiscard]] virtual bool recognizeFile(FStream& stream, const std::string& path) const {
    (void)path;
    return recognize(stream);
  }
  // Why a file this handler recognised could not be read, in the system's
  // words ("Error: Invalid or unsupported file!" unless it knows better).
  virtual std::string refusal(const std::string& path) const;
  // Reads the header of the file in stream into file: its type name,
  // format, data start, length in frames (never more than the file holds)
  // and markers. False for a file this handler cannot read; file is then
  // left with zero values.
  [[nodiscard]] virtual bool readHeader(FStream& stream, AudioFile* file) const = 0;
  // Writes the complete header for file's format and cue entries into an
  // empty stream, with zero sizes, and stores the position of the first
  // sample byte in file->dataStart; the stream is left there. False when
  // the format cannot be stored or a write failed.
  [[nodiscard]] virtual bool writeHeader(FStream& stream, AudioFile* file) const = 0;
  // After frames sample frames were written behind the header: pads the
  // data to an even length and writes the real sizes. The stream ends up
  // at its end.
  [[nodiscard]] virtual bool finish(FStream& stream, AudioFile* file, int64_t frames) const = 0;
  // The display name of this file's kind ("Wave File", "AIFC File", ...).
  virtual std::string displayName(const AudioFile& file) const = 0;

  // Whether writeHeader() and finish() make files of this kind; false for
  // formats read through an outside decoder.
  virtual bool canWrite() const { return true; }
  // Whether the samples must be decoded through openSamples(); false for
  // plain frames at file.dataStart, which the reader reads itself.
  virtual bool decodesSamples() const { return false; }
  // A source that decodes the samples of file (read by readHeader() from
  // file.path), or nullptr when the decoder refuses it.
  virtual std::unique_ptr<AudioSampleSource> openSamples(const AudioFile& file) const {
    (void)file;
    return nullptr;
  }
  // The companion file that goes with file once finish() has run, or
  // nullopt for formats without one. AudioFileWriter puts it in place
  // safely along with the file.
  virtual std::optional<AudioFileCompanion> companion(const AudioFile& file) const {
    (void)file;
    return std::nullopt;
  }
};

class AudioFileHandlers {
 public:
  // The registered handlers, in the order they are asked to recognise.
  static const std::vector<const AudioFileHandler*>& all();
  // The first handler that recognises the stream, or nullptr.
  static const AudioFileHandler* recognize(FStream& stream);
  // The first handler that recognises the file at path, open in stream.
  static const AudioFileHandler* recognizeFile(FStream& stream, const std::string& path);
  // The handler registered under a type name ("WAVE", "AIFF", "AIFC", "SDII", "FLAC", ...).
  static const AudioFileHandler* byTypeName(const std::string& typeName);
};

}  // namespace vantor
