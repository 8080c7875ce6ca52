#include "CommandTestSupport.h"

#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "model/MModelInit.h"
#include "model/tree/MAccessor.h"
#include "model/undo/GUndoManager.h"

namespace vantor::cmdtest {

VANTOR_DEFINE_CLASS(CommandTestEvent, MEvent, 0)
VANTOR_DEFINE_CLASS(CountingNode, MListNode, 0)
VANTOR_DEFINE_CLASS(LogCommand, MCommand, 0)

bool CommandTestEvent::writeToArchive(FObjectArchive& archive) const {
  return MEvent::writeToArchive(archive) && archive.stream().writeInt32(tag_);
}

bool CommandTestEvent::readFromArchive(FObjectArchive& archive) {
  return MEvent::readFromArchive(archive) && archive.stream().readInt32(&tag_);
}

void CountingNode::extentWillChange(MEvent* event) {
  ++willChange;
  MListNode::extentWillChange(event);
}

void CountingNode::extentChanged(MEvent* event) {
  ++changedExtent;
  MListNode::extentChanged(event);
}

void CountingNode::eventsChanged() {
  ++changedEvents;
  MListNode::eventsChanged();
}

void initializeCommandTests() {
  initializeModel();
  CommandTestEvent::classDescriptor();
  CountingNode::classDescriptor();
  LogCommand::classDescriptor();
}

FRef<MEvent> makeEvent(double start, double length, double offset, int32_t tag) {
  return FRef<MEvent>(new CommandTestEvent(start, length, offset, tag));
}

MEvent* put(MDataNode& node, FRef<MEvent> event) {
  MEvent* raw = event.get();
  FRef<MAccessor> accessor = node.getWriteAccessor();
  if (!accessor || !accessor->insert(std::move(event))) return nullptr;
  return raw;
}

std::vector<uint8_t> snapshot(const CmObject* root) {
  FMemoryStream stream;
  FObjectArchive archive(stream);
  if (!archive.writeArchive(root)) return {};
  return stream.takeData();
}

::testing::AssertionResult sameBytes(const std::vector<uint8_t>& actual, const std::vector<uint8_t>& expected) {
  if (actual == expected) return ::testing::AssertionSuccess();
  size_t at = 0;
  while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) ++at;
  return ::testing::AssertionFailure() << "sizes " << actual.size() << " and " << expected.size()
                                       << ", first difference at byte " << at;
}

std::vector<int32_t> tagsOf(MDataNode& node) {
  std::vector<int32_t> tags;
  FRef<MAccessor> reader = node.getReadAccessor();
  for (size_t i = 0; reader && i < reader->count(); ++i) {
    auto* event = dynamic_cast<CommandTestEvent*>(reader->at(i));
    tags.push_back(event != nullptr ? event->tag() : -1);
  }
  return tags;
}

}  // namespace vantor::cmdtest
