#pragma once
// An offline process: its class name (the persistent identity kept in a
// clip's edit history), its display name, its parameters as an attribute set
// under the stored keys, and the working object that carries it out.
//
// Each process describes its parameters as a table of PParameterSpec: the
// stored key, the kind, the range, the default and the unit. A new process
// holds every default (filled on first use); setParameter() checks a value against its row, so a
// process never holds a value it cannot run with.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "audio/process/PAudioWork.h"
#include "foundation/FAttributes.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

struct PParameterSpec {
  enum class Kind { kNumber, kInteger, kChoice, kText };
  const char* key;
  Kind kind;
  double minimum = 0;
  double maximum = 0;
  double defaultValue = 0;
  // kText: the default text. kChoice: the choices, "|"-separated, stored as
  // the chosen index.
  const char* text = "";
  const char* unit = "";
};

class PAudioProcess : public FShared {
  VANTOR_CLASS(PAudioProcess)
 public:
  PAudioProcess();

  // The name shown in menus and in the history's "Action" column.
  virtual std::string displayName() const = 0;
  // The parameter table, in the dialog's order; empty for a process without
  // parameters.
  virtual std::vector<PParameterSpec> parameterSpecs() const;
  bool hasParameters() const { return !parameterSpecs().empty(); }
  // False for an analysis, which leaves the audio as it is.
  virtual bool changesAudio() const { return true; }
  // A new working object for one run with the current parameters.
  virtual std::unique_ptr<PAudioWork> createWork() const = 0;

  // The parameters, their attribute set named after the process's class.
  const FAttributes& parameters() const;
  // Sets one parameter from text ("6", "-3.5", a choice's name or index).
  // False, with the reason in *error and nothing changed, for an unknown key
  // or a value outside its range.
  [[nodiscard]] bool setParameter(std::string_view key, std::string_view value, std::string* error);
  // Takes every known key of stored (a history entry's set), checking each.
  // False, with nothing changed, when a value is out of its range.
  [[nodiscard]] bool restoreParameters(const FAttributes& stored, std::string* error);
  // A copy of the parameter set (for the history).
  FRef<FAttributes> copyParameters() const;

  // The value of a kNumber, kInteger or kChoice parameter (its default when
  // missing), and of a kText one.
  double number(std::string_view key) const;
  std::string text(std::string_view key) const;

  // Creates a process by class name; nullptr for a name that is no process.
  static FRef<PAudioProcess> create(std::string_view className);

 protected:
  // A further check of a text value (envelope points, impulse path); the
  // default takes any text.
  virtual bool checkText(std::string_view key, const std::string& value, std::string* error) const;

 private:
  bool setChecked(const PParameterSpec& spec, std::string_view value, FAttributes& into, std::string* error) const;
  FAttributes& ensureDefaults() const;
  mutable FRef<FAttributes> parameters_;
};

// A copy of an attribute set's numbers, integers and texts.
FRef<FAttributes> copyAttributes(const FAttributes& attributes);

}  // namespace vantor
