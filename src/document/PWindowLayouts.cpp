#include "document/PWindowLayouts.h"

#include <algorithm>
#include <unordered_set>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PWindowLayouts, FShared, 0)

namespace {

// Smallest written sizes, to refuse counts the record cannot hold: a layout
// is at least an empty name (5 bytes) and a count (4); a window an empty
// kind (5) and four integers (16).
constexpr int64_t kMinLayoutBytes = 9;
constexpr int64_t kMinWindowBytes = 21;

bool countFits(const FStream& s, uint32_t count, int64_t each) {
  const int64_t left = s.remaining();
  return left == FStream::kUnknown || static_cast<int64_t>(count) <= left / each;
}

bool readWindow(FStream& s, PWindowEntry* window) {
  return s.readString(&window->kind) && s.readInt32(&window->x) && s.readInt32(&window->y) &&
         s.readInt32(&window->width) && s.readInt32(&window->height);
}

bool readLayout(FStream& s, PWindowLayout* layout) {
  uint32_t count = 0;
  if (!s.readString(&layout->name) || !s.readUInt32(&count) || !countFits(s, count, kMinWindowBytes)) {
    return false;
  }
  layout->windows.resize(count);
  for (PWindowEntry& window : layout->windows) {
    if (!readWindow(s, &window)) return false;
  }
  return true;
}

}  // namespace

PWindowLayouts::PWindowLayouts() : layouts_{defaultLayout()}, active_(kDefaultLayoutName) {}

PWindowLayout PWindowLayouts::defaultLayout() {
  return PWindowLayout{kDefaultLayoutName, {{"Project", 0, 0, 1280, 720}, {"Transport", 0, 720, 1280, 96}}};
}

bool PWindowLayouts::isValid(const PWindowLayout& layout) {
  if (layout.name.empty()) return false;
  return std::all_of(layout.windows.begin(), layout.windows.end(),
                     [](const PWindowEntry& w) { return w.width >= 0 && w.height >= 0; });
}

const PWindowLayout* PWindowLayouts::find(std::string_view name) const {
  for (const PWindowLayout& layout : layouts_) {
    if (layout.name == name) return &layout;
  }
  return nullptr;
}

bool PWindowLayouts::store(PWindowLayout layout) {
  if (!isValid(layout)) return false;
  for (PWindowLayout& existing : layouts_) {
    if (existing.name == layout.name) {
      existing = std::move(layout);
      return true;
    }
  }
  layouts_.push_back(std::move(layout));
  return true;
}

bool PWindowLayouts::remove(std::string_view name) {
  auto it = std::find_if(layouts_.begin(), layouts_.end(), [&](const PWindowLayout& l) { return l.name == name; });
  if (it == layouts_.end() || layouts_.size() == 1) return false;
  layouts_.erase(it);
  if (active_ == name) active_ = layouts_.front().name;
  return true;
}

bool PWindowLayouts::setActiveLayout(std::string_view name) {
  if (find(name) == nullptr) return false;
  active_ = std::string(name);
  return true;
}

bool PWindowLayouts::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  std::string active;
  uint32_t count = 0;
  if (!s.readString(&active) || !s.readUInt32(&count) || count == 0 || !countFits(s, count, kMinLayoutBytes)) {
    return false;
  }
  std::vector<PWindowLayout> layouts(count);
  std::unordered_set<std::string> names;
  for (PWindowLayout& layout : layouts) {
    if (!readLayout(s, &layout) || !isValid(layout) || !names.insert(layout.name).second) return false;
  }
  if (names.count(active) == 0) return false;
  layouts_ = std::move(layouts);
  active_ = std::move(active);
  return true;
}

bool PWindowLayouts::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  if (!s.writeString(active_) || !s.writeUInt32(static_cast<uint32_t>(layouts_.size()))) return false;
  for (const PWindowLayout& layout : layouts_) {
    if (!s.writeString(layout.name) || !s.writeUInt32(static_cast<uint32_t>(layout.windows.size()))) return false;
    for (const PWindowEntry& w : layout.windows) {
      if (!s.writeString(w.kind) || !s.writeInt32(w.x) || !s.writeInt32(w.y) || !s.writeInt32(w.width) ||
          !s.writeInt32(w.height)) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace vantor
