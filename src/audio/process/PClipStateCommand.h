#pragma once
// The commands that change a clip's audio: each works out the clip's new
// state (files of its cluster, material, edit history) on a copy through a
// PClipProcessor when first performed, then exchanges it with the clip's.
// Undo and redo exchange again, so undo restores the cluster's file list,
// the material and the history exactly (a clip without history gets none
// back). The files written stay on disk, so redo needs no new run.
//
//  - PAudioProcessCommand ("Audio Process"): one process over a range;
//  - PEditHistoryCommand: remove, modify or replace ("Replace by") one
//    history entry, running the entries after it again;
//  - PFreezeEditsCommand ("Freeze Edits"): renders the material into one
//    file and empties the history.

#include <functional>
#include <string>

#include "audio/pool/PAudioClip.h"
#include "audio/process/PClipProcessor.h"
#include "model/undo/MCommand.h"

namespace vantor {

class PClipStateCommand : public MCommand {
  VANTOR_CLASS(PClipStateCommand)
 public:
  PAudioClip* clip() const { return clip_.get(); }
  // Told the fraction done (0 to 1) of each pass of the first perform.
  void setProgress(std::function<void(double)> progress) { progress_ = std::move(progress); }

 protected:
  PClipStateCommand() = default;
  // folder: where results are written; messages: progress texts.
  PClipStateCommand(FRef<PAudioClip> clip, std::string folder, FUserMessages* messages);
  // Works the new state out on processor; false with the reason in *error.
  virtual bool compute(PClipProcessor& processor, std::string* error) = 0;

  bool doPerform() override;
  bool doUndo() override { return exchange(); }
  bool doRedo() override { return exchange(); }

 private:
  bool exchange();

  FRef<PAudioClip> clip_;
  std::string folder_;
  FUserMessages* messages_ = nullptr;
  std::vector<AudioFile> files_;
  FRef<PClipMaterial> material_;
  FRef<CmObject> history_;
  std::function<void(double)> progress_;
};

class PAudioProcessCommand : public PClipStateCommand {
  VANTOR_CLASS(PAudioProcessCommand)
 public:
  PAudioProcessCommand() = default;
  // Runs process (which must change audio) over frames [start, start +
  // length) of clip.
  PAudioProcessCommand(FRef<PAudioClip> clip, FRef<PAudioProcess> process, int64_t start, int64_t length,
                       std::string folder, FUserMessages* messages);
  std::string description() const override;

 protected:
  bool compute(PClipProcessor& processor, std::string* error) override;

 private:
  FRef<PAudioProcess> process_;
  int64_t start_ = 0;
  int64_t length_ = 0;
};

class PEditHistoryCommand : public PClipStateCommand {
  VANTOR_CLASS(PEditHistoryCommand)
 public:
  enum class Kind { kRemove, kModify, kReplace };
  PEditHistoryCommand() = default;
  // Removes entry index, or puts process in its place (kModify: the same
  // process with other parameters; kReplace: another process), then runs
  // the later entries again.
  PEditHistoryCommand(Kind kind, FRef<PAudioClip> clip, size_t index, FRef<PAudioProcess> process, std::string folder,
                      FUserMessages* messages);
  std::string description() const override;

  // The refusal of each kind: "Remove not possible.", "Modify not possible."
  // and, for a replacement, the same as for a modification.
  static const char* refusal(Kind kind);

 protected:
  bool compute(PClipProcessor& processor, std::string* error) override;

 private:
  Kind kind_ = Kind::kRemove;
  size_t index_ = 0;
  FRef<PAudioProcess> process_;
};

class PFreezeEditsCommand : public PClipStateCommand {
  VANTOR_CLASS(PFreezeEditsCommand)
 public:
  PFreezeEditsCommand() = default;
  PFreezeEditsCommand(FRef<PAudioClip> clip, std::string folder, FUserMessages* messages)
      : PClipStateCommand(std::move(clip), std::move(folder), messages) {}
  std::string description() const override { return "Freeze Edits"; }

 protected:
  bool compute(PClipProcessor& processor, std::string* error) override { return processor.flatten(error); }
};

}  // namespace vantor
