#pragma once
// The "WindowLayouts" root of a project: named arrangements of the program's
// windows, one of them active. There is always at least one layout; a new
// set holds the "Default" layout.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FClass.h"
#include "foundation/FShared.h"

namespace vantor {

// One window of a layout: its kind ("Project", "Transport", "Mixer", ...) and
// its frame in screen pixels.
struct PWindowEntry {
  std::string kind;
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;
  bool operator==(const PWindowEntry&) const = default;
};

struct PWindowLayout {
  std::string name;
  std::vector<PWindowEntry> windows;
  bool operator==(const PWindowLayout&) const = default;
};

class PWindowLayouts : public FShared {
  VANTOR_CLASS(PWindowLayouts)
 public:
  static constexpr const char* kDefaultLayoutName = "Default";

  // The set with the "Default" layout only, active.
  PWindowLayouts();
  // The "Default" layout: the project window above the transport bar.
  static PWindowLayout defaultLayout();

  const std::vector<PWindowLayout>& layouts() const { return layouts_; }
  const PWindowLayout* find(std::string_view name) const;
  // Adds the layout, or replaces the one of the same name. False for an
  // empty name, or a window with a negative width or height.
  [[nodiscard]] bool store(PWindowLayout layout);
  // Removes a layout. False when it is missing or is the last one; removing
  // the active layout makes the first remaining one active.
  [[nodiscard]] bool remove(std::string_view name);

  const std::string& activeLayout() const { return active_; }
  // False when no layout has that name.
  [[nodiscard]] bool setActiveLayout(std::string_view name);

  bool sameAs(const PWindowLayouts& other) const { return active_ == other.active_ && layouts_ == other.layouts_; }

  // Archive: the active layout's name (string), a 32-bit layout count, then
  // per layout its name (string), a 32-bit window count and per window its
  // kind (string), x, y, width and height (32-bit each). A record with no
  // layout, an empty or repeated name, a negative size or an active name
  // that names no layout is unreadable.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  static bool isValid(const PWindowLayout& layout);

  std::vector<PWindowLayout> layouts_;
  std::string active_;
};

}  // namespace vantor
