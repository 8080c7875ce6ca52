#pragma once
// The texts the audio file layer gives the user, in the system's words.

namespace vantor {

// No handler recognises the file, or its header cannot be read.
inline constexpr const char* kInvalidAudioFileMessage = "Error: Invalid or unsupported file!";
// A write ran out of room on the disk.
inline constexpr const char* kNotEnoughDiskSpaceMessage = "There is not enough disk space for this operation!";
// The file to be replaced may not be written.
inline constexpr const char* kWriteProtectedMessage = "The file is write protected and cannot be replaced!";
// Asked where the user may replace a write-protected file all the same.
inline constexpr const char* kReplaceProtectedQuestion =
    "The file is write protected! Do you want to replace it anyway?";
inline constexpr const char* kReplaceProtectedChoice = "Replace";
inline constexpr const char* kCancelReplaceChoice = "Cancel";
// The samples would pass the 32-bit size fields of the container.
inline constexpr const char* kFileTooLargeMessage = "The file is larger than its format can hold (4 GB).";
// A read failed, or the file was cut short, before the end of its samples.
inline constexpr const char* kUnreadableAudioFileMessage = "The file could not be read to its end.";
// A sample rate conversion beyond what the converter accepts.
inline constexpr const char* kUnsupportedRateMessage = "This sample rate conversion is not supported!";
// An SDII file whose companion "._" + name, which holds its format, is
// missing; %s is the companion's name.
inline constexpr const char* kMissingResourcePartMessage =
    "The resource part of this Sound Designer II file (\"%s\") is missing.";
// The user stopped a conversion; the target was left as it was.
inline constexpr const char* kConversionCancelledMessage = "The conversion was cancelled.";

}  // namespace vantor
