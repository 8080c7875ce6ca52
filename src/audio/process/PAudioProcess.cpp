#include "audio/process/PAudioProcess.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "foundation/FClassRegistry.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(PAudioProcess, FShared, 0)

namespace {

std::vector<std::string> splitChoices(const char* choices) {
  std::vector<std::string> out;
  std::string current;
  for (const char* c = choices; *c != '\0'; ++c) {
    if (*c == '|') {
      out.push_back(current);
      current.clear();
    } else {
      current += *c;
    }
  }
  out.push_back(current);
  return out;
}

bool parseNumber(std::string_view text, double* out) {
  const std::string copy(text);
  if (copy.empty()) return false;
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(copy.c_str(), &end);
  if (end != copy.c_str() + copy.size() || errno != 0 || !std::isfinite(value)) return false;
  *out = value;
  return true;
}

std::string formatValue(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

const PParameterSpec* findSpec(const std::vector<PParameterSpec>& specs, std::string_view key) {
  for (const PParameterSpec& definition : specs) {
    if (key == definition.key) return &definition;
  }
  return nullptr;
}

}  // namespace

PAudioProcess::PAudioProcess() = default;

std::vector<PParameterSpec> PAudioProcess::parameterSpecs() const { return {}; }

FAttributes& PAudioProcess::ensureDefaults() const {
  if (parameters_) return *parameters_;
  parameters_ = FRef<FAttributes>(new FAttributes(getClassName()));
  for (const PParameterSpec& definition : parameterSpecs()) {
    switch (definition.kind) {
      case PParameterSpec::Kind::kNumber:
        parameters_->setFloat(definition.key, definition.defaultValue);
        break;
      case PParameterSpec::Kind::kInteger:
      case PParameterSpec::Kind::kChoice:
        parameters_->setInt(definition.key, static_cast<int64_t>(definition.defaultValue));
        break;
      case PParameterSpec::Kind::kText:
        parameters_->setString(definition.key, definition.text);
        break;
    }
  }
  return *parameters_;
}

const FAttributes& PAudioProcess::parameters() const { return ensureDefaults(); }

bool PAudioProcess::checkText(std::string_view, const std::string&, std::string*) const { return true; }

bool PAudioProcess::setChecked(const PParameterSpec& definition, std::string_view value, FAttributes& into,
                               std::string* error) const {
  const std::string key = definition.key;
  if (definition.kind == PParameterSpec::Kind::kText) {
    const std::string textValue(value);
    if (!checkText(key, textValue, error)) return false;
    into.setString(key, textValue);
    return true;
  }
  double number = 0;
  if (definition.kind == PParameterSpec::Kind::kChoice) {
    const std::vector<std::string> choices = splitChoices(definition.text);
    for (size_t i = 0; i < choices.size(); ++i) {
      if (value == choices[i]) number = static_cast<double>(i) + 0.5;
    }
    if (number > 0) {
      into.setInt(key, static_cast<int64_t>(number));
      return true;
    }
  }
  const bool integral = definition.kind != PParameterSpec::Kind::kNumber;
  if (!parseNumber(value, &number) || (integral && number != std::floor(number)) || number < definition.minimum ||
      number > definition.maximum) {
    *error = "\"" + key + "\" takes " + (integral ? "a whole number" : "a number") + " from " +
             formatValue(definition.minimum) + " to " + formatValue(definition.maximum) +
             (definition.unit[0] != '\0' ? std::string(" ") + definition.unit : std::string()) + ", not \"" +
             std::string(value) + "\"";
    return false;
  }
  if (integral) {
    into.setInt(key, static_cast<int64_t>(number));
  } else {
    into.setFloat(key, number);
  }
  return true;
}

bool PAudioProcess::setParameter(std::string_view key, std::string_view value, std::string* error) {
  const std::vector<PParameterSpec> specs = parameterSpecs();
  const PParameterSpec* definition = findSpec(specs, key);
  if (definition == nullptr) {
    *error = "\"" + std::string(key) + "\" is no parameter of " + displayName();
    return false;
  }
  return setChecked(*definition, value, ensureDefaults(), error);
}

bool PAudioProcess::restoreParameters(const FAttributes& stored, std::string* error) {
  FRef<FAttributes> next = copyParameters();
  for (const PParameterSpec& definition : parameterSpecs()) {
    if (!stored.contains(definition.key)) continue;
    std::string value;
    double number = 0;
    if (definition.kind == PParameterSpec::Kind::kText) {
      if (!stored.getString(definition.key, &value)) {
        *error = "\"" + std::string(definition.key) + "\" holds no text";
        return false;
      }
    } else if (stored.getFloat(definition.key, &number)) {
      value = definition.kind == PParameterSpec::Kind::kNumber ? formatValue(number) : std::to_string(int64_t(number));
      if (definition.kind == PParameterSpec::Kind::kNumber) {
        // Keep the stored double exactly, not its printed form.
        if (number < definition.minimum || number > definition.maximum || !std::isfinite(number)) {
          return setChecked(definition, value, *next, error);
        }
        next->setFloat(definition.key, number);
        continue;
      }
    }
    if (!setChecked(definition, value, *next, error)) return false;
  }
  parameters_ = next;
  return true;
}

FRef<FAttributes> PAudioProcess::copyParameters() const { return copyAttributes(ensureDefaults()); }

FRef<FAttributes> copyAttributes(const FAttributes& attributes) {
  FRef<FAttributes> copy(new FAttributes(attributes.className()));
  for (const std::string& key : attributes.keys()) {
    FAttributes::Kind kind{};
    int64_t integer = 0;
    double value = 0;
    std::string textValue;
    if (!attributes.kindOf(key, &kind)) continue;
    if (kind == FAttributes::Kind::kInteger && attributes.getInt(key, &integer)) copy->setInt(key, integer);
    if (kind == FAttributes::Kind::kFloat && attributes.getFloat(key, &value)) copy->setFloat(key, value);
    if (kind == FAttributes::Kind::kString && attributes.getString(key, &textValue)) copy->setString(key, textValue);
  }
  return copy;
}

double PAudioProcess::number(std::string_view key) const {
  double value = 0;
  if (ensureDefaults().getFloat(key, &value)) return value;
  const std::vector<PParameterSpec> specs = parameterSpecs();
  const PParameterSpec* definition = findSpec(specs, key);
  return definition != nullptr ? definition->defaultValue : 0.0;
}

std::string PAudioProcess::text(std::string_view key) const {
  std::string value;
  if (!ensureDefaults().getString(key, &value)) {
    const std::vector<PParameterSpec> specs = parameterSpecs();
    const PParameterSpec* definition = findSpec(specs, key);
    if (definition != nullptr) value = definition->text;
  }
  return value;
}

FRef<PAudioProcess> PAudioProcess::create(std::string_view className) {
  const FClass* descriptor = FClassRegistry::instance().find(className);
  if (descriptor == nullptr || !descriptor->isKindOf("PAudioProcess") || descriptor->isAbstract()) return nullptr;
  FRef<CmObject> object = descriptor->newInstance();
  auto* process = dynamic_cast<PAudioProcess*>(object.get());
  if (process == nullptr) return nullptr;
  return FRef<PAudioProcess>::share(process);
}

}  // namespace vantor
