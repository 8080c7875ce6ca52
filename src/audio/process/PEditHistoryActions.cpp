#include "audio/process/PEditHistoryActions.h"

#include "audio/process/PClipStateCommand.h"
#include "audio/process/PProcessMessages.h"
#include "model/undo/GUndoManager.h"

namespace vantor {

namespace {

bool refuse(FUserMessages& messages, const char* text) {
  messages.report(FUserMessages::Severity::kError, text);
  return false;
}

// A Yes/No question whose default is No.
bool confirm(FUserMessages& messages, const char* format, const std::string& name) {
  return messages.ask(formatMessage(format, {name}), {"Yes", "No"}, 1) == 0;
}

// The history with the entry, or a refusal: "File has not been edited!"
// without history, otherwise missing.
const PEditHistoryEntry* findEntry(const PAudioClip& clip, size_t index, FUserMessages& messages, const char* missing) {
  const PEditHistory* history = editHistoryOf(clip);
  if (history == nullptr) return refuse(messages, kFileNotEdited), nullptr;
  if (index >= history->size()) return refuse(messages, missing), nullptr;
  return &history->entries()[index];
}

}  // namespace

const PEditHistory* editHistoryOf(const PAudioClip& clip) {
  const auto* history = dynamic_cast<const PEditHistory*>(clip.getHistory());
  return history != nullptr && !history->empty() ? history : nullptr;
}

FRef<PAudioProcess> entryProcess(const PAudioClip& clip, size_t index) {
  const PEditHistory* history = editHistoryOf(clip);
  if (history == nullptr || index >= history->size()) return nullptr;
  const PEditHistoryEntry& entry = history->entries()[index];
  FRef<PAudioProcess> process = PAudioProcess::create(entry.processClass);
  std::string error;
  if (!process || !process->restoreParameters(*entry.parameters, &error)) return nullptr;
  return process;
}

FRef<MCommand> prepareRemove(FRef<PAudioClip> clip, size_t index, const std::string& folder, FUserMessages& messages) {
  const PEditHistoryEntry* entry = findEntry(*clip, index, messages, kRemoveNotPossible);
  if (entry == nullptr || !confirm(messages, kRemoveQuestionFormat, PEditHistory::actionName(*entry))) return nullptr;
  return FRef<MCommand>(
      new PEditHistoryCommand(PEditHistoryCommand::Kind::kRemove, std::move(clip), index, nullptr, folder, &messages));
}

FRef<MCommand> prepareModify(FRef<PAudioClip> clip, size_t index, FRef<PAudioProcess> modified,
                             const std::string& folder, FUserMessages& messages) {
  const PEditHistoryEntry* entry = findEntry(*clip, index, messages, kModifyNotPossible);
  if (entry == nullptr) return nullptr;
  if (!modified || entry->processClass != modified->getClassName())
    return refuse(messages, kModifyNotPossible), nullptr;
  if (!modified->hasParameters()) return refuse(messages, kModifyWithoutParameters), nullptr;
  return FRef<MCommand>(new PEditHistoryCommand(PEditHistoryCommand::Kind::kModify, std::move(clip), index,
                                                std::move(modified), folder, &messages));
}

FRef<MCommand> prepareReplace(FRef<PAudioClip> clip, size_t index, FRef<PAudioProcess> by, const std::string& folder,
                              FUserMessages& messages) {
  if (!by) return refuse(messages, kNoActionSelected), nullptr;
  const PEditHistoryEntry* entry = findEntry(*clip, index, messages, kModifyNotPossible);
  if (entry == nullptr || !confirm(messages, kReplaceQuestionFormat, PEditHistory::actionName(*entry))) return nullptr;
  return FRef<MCommand>(new PEditHistoryCommand(PEditHistoryCommand::Kind::kReplace, std::move(clip), index,
                                                std::move(by), folder, &messages));
}

FRef<MCommand> prepareFreeze(FRef<PAudioClip> clip, const std::string& folder, FUserMessages& messages) {
  if (editHistoryOf(*clip) == nullptr) return refuse(messages, kFileNotEdited), nullptr;
  if (messages.ask(std::string(kCannotUndoQuestion), {kSureChoice, "Cancel"}, 1) != 0) return nullptr;
  return FRef<MCommand>(new PFreezeEditsCommand(std::move(clip), folder, &messages));
}

}  // namespace vantor
