#include "audio/process/PClipStateCommand.h"

#include "audio/process/PProcessMessages.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(PClipStateCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(PAudioProcessCommand, PClipStateCommand, 0)
VANTOR_DEFINE_CLASS(PEditHistoryCommand, PClipStateCommand, 0)
VANTOR_DEFINE_CLASS(PFreezeEditsCommand, PClipStateCommand, 0)

namespace {

// Reports nothing: for a command made without a message interface.
class SilentMessages : public FUserMessages {
 public:
  void report(Severity, std::string_view) override {}
  int ask(std::string_view, const std::vector<std::string>&, int defaultChoice) override { return defaultChoice; }
};

}  // namespace

PClipStateCommand::PClipStateCommand(FRef<PAudioClip> clip, std::string folder, FUserMessages* messages)
    : clip_(std::move(clip)), folder_(std::move(folder)), messages_(messages) {}

bool PClipStateCommand::doPerform() {
  if (!clip_ || clip_->getCluster() == nullptr || clip_->getMaterial() == nullptr) return refuse("No clip selected.");
  SilentMessages silent;
  PClipProcessor processor(*clip_, folder_, messages_ != nullptr ? *messages_ : silent);
  processor.setProgress(progress_);
  std::string error;
  if (!compute(processor, &error)) return refuse(error);
  PClipState state = processor.takeState();
  files_ = std::move(state.files);
  material_ = std::move(state.material);
  history_ = std::move(state.history);
  return exchange();
}

bool PClipStateCommand::exchange() {
  std::swap(clip_->getCluster()->files(), files_);
  FRef<PClipMaterial> material = clip_->materialRef();
  clip_->setMaterial(material_);
  material_ = std::move(material);
  FRef<CmObject> history = FRef<CmObject>::share(clip_->getHistory());
  clip_->setHistory(history_);
  history_ = std::move(history);
  return true;
}

PAudioProcessCommand::PAudioProcessCommand(FRef<PAudioClip> clip, FRef<PAudioProcess> process, int64_t start,
                                           int64_t length, std::string folder, FUserMessages* messages)
    : PClipStateCommand(std::move(clip), std::move(folder), messages),
      process_(std::move(process)),
      start_(start),
      length_(length) {}

std::string PAudioProcessCommand::description() const { return kAudioProcessAction; }

bool PAudioProcessCommand::compute(PClipProcessor& processor, std::string* error) {
  if (!process_ || !process_->changesAudio()) return (*error = kNoActionSelected, false);
  return processor.apply(*process_, start_, length_, error);
}

PEditHistoryCommand::PEditHistoryCommand(Kind kind, FRef<PAudioClip> clip, size_t index, FRef<PAudioProcess> process,
                                         std::string folder, FUserMessages* messages)
    : PClipStateCommand(std::move(clip), std::move(folder), messages),
      kind_(kind),
      index_(index),
      process_(std::move(process)) {}

std::string PEditHistoryCommand::description() const {
  switch (kind_) {
    case Kind::kRemove:
      return "Remove";
    case Kind::kModify:
      return "Modify";
    case Kind::kReplace:
      return kReplaceByAction;
  }
  return "Remove";
}

const char* PEditHistoryCommand::refusal(Kind kind) {
  return kind == Kind::kRemove ? kRemoveNotPossible : kModifyNotPossible;
}

bool PEditHistoryCommand::compute(PClipProcessor& processor, std::string* error) {
  std::vector<PEditHistoryEntry> removed;
  if (!processor.rewindTo(index_, &removed)) return (*error = refusal(kind_), false);
  const PEditHistoryEntry first = removed.front();
  removed.erase(removed.begin());
  if (kind_ != Kind::kRemove) {
    if (!process_) return (*error = kNoActionSelected, false);
    if (!process_->changesAudio() || !processor.apply(*process_, first.start, first.length, error)) {
      *error = refusal(kind_);
      return false;
    }
  }
  // A later entry that cannot run again (its process unknown, a file
  // missing) makes the whole change impossible.
  std::string replayError;
  if (!processor.replay(removed, &replayError)) return (*error = refusal(kind_), false);
  return true;
}

}  // namespace vantor
