#pragma once
// The texts of the offline processes and their history, in the system's
// words. The forms with %s and %d are filled by formatMessage or printf.

namespace vantor {

inline constexpr const char* kAudioProcessAction = "Audio Process";
inline constexpr const char* kProcessPluginAction = "Process Plugin";
inline constexpr const char* kProcessingMessage = "Processing";
inline constexpr const char* kWritingFileMessage = "Writing file...";

inline constexpr const char* kReplaceOrNewQuestion = "Replace original or create new file?";
inline constexpr const char* kReplaceChoice = "Replace";
inline constexpr const char* kNewFileChoice = "New File";
inline constexpr const char* kCreateNewVersionAction = "Create New Version";

// Asked when regions chosen for processing share frames: "Skip Doubles"
// processes each frame once (the union of their ranges), "Cancel" nothing.
inline constexpr const char* kOverlappingRegionsQuestion =
    "You have selected regions for processing\nthat refer to overlapping audio material!";
inline constexpr const char* kSkipDoublesChoice = "Skip Doubles";
inline constexpr const char* kCancelProcessChoice = "Cancel";

inline constexpr const char* kHistoryTitleFormat = "Offline Process History for %s";
inline constexpr const char* kHistoryActionColumn = "Action";
inline constexpr const char* kHistoryStatusColumn = "Status";

inline constexpr const char* kRemoveQuestionFormat = "Are you sure you want to remove \"%s\" ?";
inline constexpr const char* kRemoveNotPossible = "Remove not possible.";
inline constexpr const char* kModifyNotPossible = "Modify not possible.";
inline constexpr const char* kModifyWithoutParameters = "Modification of a process without parameter is not possible.";
inline constexpr const char* kReplaceByAction = "Replace by";
inline constexpr const char* kReplaceQuestionFormat = "Are you sure you want to replace \"%s\" ?";
inline constexpr const char* kNoActionSelected = "No action selected!";
inline constexpr const char* kFileNotEdited = "File has not been edited!";
inline constexpr const char* kSureChoice = "Sure";
inline constexpr const char* kFlatteningMessage = "Flattening file...";

inline constexpr const char* kAddRegionAction = "Add Region";
inline constexpr const char* kAddEventAction = "Add Event";
inline constexpr const char* kRegionsFromDetectSilence = "Regions from Detect Silence";
inline constexpr const char* kEventsRegionsFromDetectSilence = "Events+Regions from Detect Silence";
inline constexpr const char* kStripSilenceAction = "Strip Silence";

}  // namespace vantor
