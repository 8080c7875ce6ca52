#include "midi/smf/MSmfImportCommand.h"

#include "midi/MMidiInit.h"
#include "midi/events/MMidiPart.h"
#include "midi/quantize/MBarSource.h"
#include "midi/quantize/MQuantizeFunctions.h"
#include "model/edit/MTrackCommands.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackList.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MReplaceEventsCommand, MCommand, 0)

void registerSmfImportClasses() { MReplaceEventsCommand::classDescriptor(); }

MReplaceEventsCommand::MReplaceEventsCommand(FRef<MDataNode> node, std::vector<FRef<MEvent>> events)
    : node_(std::move(node)), events_(std::move(events)) {}

size_t MReplaceEventsCommand::heldBytes() const {
  return MCommand::heldBytes() + events_.capacity() * sizeof(FRef<MEvent>);
}

bool MReplaceEventsCommand::exchange() {
  if (!node_ || writeAccessorOf(node_.get()) == nullptr) return false;
  MEventContainer* events = node_->events();
  if (events == nullptr) return false;
  std::vector<FRef<MEvent>> former(events->begin(), events->end());
  events->clear();
  // Events keep their order keys, so the list comes back in its exact order.
  for (FRef<MEvent>& event : events_) events->append(std::move(event));
  events->sortAfterAppend();
  events_ = std::move(former);
  node_->eventsChanged();
  return true;
}

namespace {

// The node's events before position, then the new ones.
std::vector<FRef<MEvent>> keptBefore(const MDataNode& node, double position) {
  std::vector<FRef<MEvent>> events;
  for (const FRef<MEvent>& event : *node.events()) {
    if (event->getStart() < position) events.push_back(event);
  }
  return events;
}

std::vector<FRef<MEvent>> tempoList(const MTempoTrackNode& node, const MSmfImport& import, double position) {
  std::vector<FRef<MEvent>> events = keptBefore(node, position);
  for (const MSmfImportTempo& tempo : import.tempos) {
    FRef<MTempoEvent> event = makeRef<MTempoEvent>();
    event->setStart(position + tempo.pulses);
    (void)event->setSPB(tempo.secondsPerQuarter);
    events.push_back(std::move(event));
  }
  return events;
}

std::vector<FRef<MEvent>> signatureList(const MSignatureTrackNode& node, const MSmfImport& import, double position) {
  std::vector<FRef<MEvent>> events = keptBefore(node, position);
  for (const MSmfImportSignature& signature : import.signatures) {
    const auto at = static_cast<int32_t>(static_cast<int64_t>(position) + signature.pulses);
    events.push_back(makeRef<MTimeSignatureEvent>(at, signature.numerator, signature.denominator));
  }
  return events;
}

// Auto Quantize on the bars of the signatures the project will have.
void quantizeParts(const MSmfImport& import, const std::vector<FRef<MEvent>>* signatures,
                   const MSignatureTrackNode& projectSignatures, double position, const MMidiQuantize& setting,
                   const MQuantizeSettings& settings) {
  if (!settings.autoQuantize) return;
  FRef<MSignatureTrackNode> future;
  if (signatures != nullptr) {
    future = makeRef<MSignatureTrackNode>();
    future->events()->clear();
    for (const FRef<MEvent>& event : *signatures) future->events()->append(event->clone());
    future->events()->sortAfterAppend();
    future->eventsChanged();
  }
  const MSignatureBarSource bars(future ? *future : projectSignatures);
  for (const FRef<MTrackEvent>& track : import.tracks) {
    for (const FRef<MEvent>& placement : *track->getNode()->events()) {
      if (auto* part = dynamic_cast<MMidiPart*>(placement->getNode())) {
        (void)autoQuantizeImported(*part, position, setting, bars, settings);
      }
    }
  }
}

}  // namespace

FRef<MCommand> makeImportMidiCommand(MProject& project, MSmfImport& import, double position,
                                     const MMidiQuantize& setting, const MQuantizeSettings& settings) {
  auto macro = makeRef<MMacroCommand>("Import MIDI");
  std::vector<FRef<MEvent>> signatures;
  if (!import.signatures.empty()) signatures = signatureList(*project.getSignatureNode(), import, position);
  quantizeParts(import, import.signatures.empty() ? nullptr : &signatures, *project.getSignatureNode(), position,
                setting, settings);
  for (FRef<MTrackEvent>& track : import.tracks) {
    (void)macro->add(makeRef<MInsertTrackCommand>(FRef<MTrackList>::share(project.getTrackList()), std::move(track)));
  }
  if (!import.tempos.empty()) {
    (void)macro->add(makeRef<MReplaceEventsCommand>(FRef<MDataNode>::share(project.getTempoNode()),
                                                    tempoList(*project.getTempoNode(), import, position)));
  }
  if (!signatures.empty()) {
    (void)macro->add(
        makeRef<MReplaceEventsCommand>(FRef<MDataNode>::share(project.getSignatureNode()), std::move(signatures)));
  }
  import.tracks.clear();
  return macro;
}

}  // namespace vantor
