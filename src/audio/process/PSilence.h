#pragma once
// Silence: replaces the range by digital silence. No parameters.

#include "audio/process/PAudioProcess.h"

namespace vantor {

class PSilence : public PAudioProcess {
  VANTOR_CLASS(PSilence)
 public:
  std::string displayName() const override { return "Silence"; }
  std::unique_ptr<PAudioWork> createWork() const override;
};

}  // namespace vantor
