#include "audio/process/PStripSilenceCommand.h"

#include <algorithm>
#include <map>

#include "audio/pool/MAudioEvent.h"
#include "audio/process/PProcessMessages.h"
#include "model/edit/MInsertCommand.h"
#include "model/tree/MProject.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PStripSilenceCommand, MMacroCommand, 0)

namespace {

// The pieces of event that regions keep, as new events.
std::vector<FRef<MEvent>> keptPieces(const MAudioEvent& event, const std::vector<SilenceRegion>& regions) {
  std::vector<FRef<MEvent>> pieces;
  const int64_t from = event.getClipStart();
  const int64_t to = event.getClipEnd();
  if (to <= from) return pieces;
  const double perFrame = event.getLength() / static_cast<double>(to - from);
  for (const SilenceRegion& region : regions) {
    const int64_t start = std::max(from, region.start);
    const int64_t end = std::min(to, region.end);
    if (end <= start) continue;
    FRef<MEvent> piece = event.clone();
    auto* audio = static_cast<MAudioEvent*>(piece.get());
    audio->setClipRange(start, end - start);
    audio->setStart(event.getStart() + static_cast<double>(start - from) * perFrame);
    audio->setLength(static_cast<double>(end - start) * perFrame);
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

}  // namespace

PStripSilenceCommand::PStripSilenceCommand(FRef<PAudioClip> clip, std::vector<SilenceRegion> regions)
    : MMacroCommand(kStripSilenceAction), clip_(std::move(clip)), regions_(std::move(regions)) {}

bool PStripSilenceCommand::prepare() {
  if (project() == nullptr || !clip_) return false;
  // Old and new events per node, in the order the project visits them.
  std::map<MDataNode*, std::pair<std::vector<FRef<MEvent>>, std::vector<FRef<MEvent>>>> byNode;
  std::vector<MDataNode*> order;
  project()->forEachEvent([&](MEvent& event) {
    auto* audio = dynamic_cast<MAudioEvent*>(&event);
    if (audio == nullptr || audio->getClip() != clip_.get() || event.getParent() == nullptr) return;
    auto [at, added] = byNode.try_emplace(event.getParent());
    if (added) order.push_back(event.getParent());
    at->second.first.push_back(FRef<MEvent>::share(&event));
    for (FRef<MEvent>& piece : keptPieces(*audio, regions_)) at->second.second.push_back(std::move(piece));
  });
  if (order.empty()) return refuse("No event plays the clip.");
  for (MDataNode* node : order) {
    auto& [oldEvents, newEvents] = byNode[node];
    append(makeRef<MReplaceCommand>(FRef<MDataNode>::share(node), std::move(oldEvents), std::move(newEvents)));
  }
  return true;
}

}  // namespace vantor
