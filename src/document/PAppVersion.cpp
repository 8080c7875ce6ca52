#include "document/PAppVersion.h"

#include <string_view>

#include "document/PDocumentMessages.h"
#include "document/PVersion.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FUserMessages.h"

#ifdef VANTOR_PROJECT_VERSION
static_assert(std::string_view(vantor::kVersionNumber) == VANTOR_PROJECT_VERSION,
              "kVersionNumber in document/PVersion.h differs from the project version in CMakeLists.txt");
namespace {
constexpr int kProjectVersionParts[] = {VANTOR_PROJECT_VERSION_PARTS};
}
static_assert(vantor::kVersionMajor == kProjectVersionParts[0] && vantor::kVersionMinor == kProjectVersionParts[1] &&
                  vantor::kVersionPatch == kProjectVersionParts[2],
              "kVersionMajor, kVersionMinor and kVersionPatch in document/PVersion.h differ from the project version");
#endif

namespace vantor {

VANTOR_DEFINE_CLASS(PAppVersion, CmObject, 0)

PAppVersion::PAppVersion(std::string applicationName, std::string versionText, std::string buildDate, int32_t revision)
    : applicationName_(std::move(applicationName)),
      versionText_(std::move(versionText)),
      buildDate_(std::move(buildDate)),
      revision_(revision) {}

PAppVersion PAppVersion::current() {
  return PAppVersion(kApplicationTitle, std::string("Version ") + kVersionNumber, normalizeBuildDate(__DATE__),
                     kProjectFileRevision);
}

std::string PAppVersion::normalizeBuildDate(std::string_view compilerDate) {
  // __DATE__ pads a one-digit day with a blank ("Nov  1 2026"); the stored
  // form separates the three parts by single blanks.
  std::string result;
  bool pendingBlank = false;
  for (char c : compilerDate) {
    if (c == ' ' || c == '\t') {
      pendingBlank = !result.empty();
      continue;
    }
    if (pendingBlank) result.push_back(' ');
    pendingBlank = false;
    result.push_back(c);
  }
  return result;
}

bool PAppVersion::isNewerThanRunning() const { return revision_ > kProjectFileRevision; }

std::string PAppVersion::newerVersionWarning() const {
  return formatMessage(kNewerVersion, {applicationName_, versionText_});
}

bool PAppVersion::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  if (s.readString(&applicationName_) && s.readString(&versionText_) && s.readString(&buildDate_) &&
      s.readInt32(&revision_)) {
    return true;
  }
  *this = PAppVersion();
  return false;
}

bool PAppVersion::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeString(applicationName_) && s.writeString(versionText_) && s.writeString(buildDate_) &&
         s.writeInt32(revision_);
}

}  // namespace vantor
