#pragma once
// The "Version" root of a project file: which program wrote it.

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/CmObject.h"
#include "foundation/FClass.h"

namespace vantor {

class PAppVersion : public CmObject {
  VANTOR_CLASS(PAppVersion)
 public:
  // An empty record (no names, revision 0), as the class registry makes it.
  PAppVersion() = default;
  PAppVersion(std::string applicationName, std::string versionText, std::string buildDate, int32_t revision);

  // The record of the running program: "Vantor Studio", "Version 0.1.0",
  // the build date ("Nov 21 2026") and kProjectFileRevision.
  static PAppVersion current();
  // The compiler's date ("Nov  1 2026") with single blanks ("Nov 1 2026").
  static std::string normalizeBuildDate(std::string_view compilerDate);

  const std::string& applicationName() const { return applicationName_; }
  const std::string& versionText() const { return versionText_; }
  const std::string& buildDate() const { return buildDate_; }
  // The project-file format revision of the program that wrote the record.
  int32_t revision() const { return revision_; }

  void setApplicationName(std::string name) { applicationName_ = std::move(name); }
  void setVersionText(std::string text) { versionText_ = std::move(text); }
  void setBuildDate(std::string date) { buildDate_ = std::move(date); }
  void setRevision(int32_t revision) { revision_ = revision; }

  // True when the record comes from a program whose file format is newer
  // than the running program's.
  bool isNewerThanRunning() const;
  // The warning shown when a newer program wrote the file.
  std::string newerVersionWarning() const;

  // Archive: application name, version text, build date (strings), then the
  // revision (32-bit). A failed read leaves empty strings and revision 0.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  std::string applicationName_;
  std::string versionText_;
  std::string buildDate_;
  int32_t revision_ = 0;
};

}  // namespace vantor
