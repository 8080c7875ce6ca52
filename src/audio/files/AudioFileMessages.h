#pragma once
// The texts the audio file layer gives the user, in the system's words.

namespace vantor {

// No handler recognises the file, or its header cannot be read.
inline constexpr const char* kInvalidAudioFileMessage = "Error: Invalid or unsupported file!";
// A write ran out of room on the disk.
inline constexpr const char* kNotEnoughDiskSpaceMessage = "There is not enough disk space for this operation!";
// The file to be replaced may not be written.
inline constexpr const char* kWriteProtectedMessage = "The file is write protected and cannot be replaced!";

}  // namespace vantor
