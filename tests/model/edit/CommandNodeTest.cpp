#include "model/edit/MNodeCommands.h"

#include <gtest/gtest.h>

#include <vector>

#include "foundation/FClock.h"
#include "foundation/FDependencies.h"
#include "model/CommandTestSupport.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MArrayNode.h"
#include "model/tree/MPartEvent.h"
#include "model/undo/GUndoManager.h"

namespace vantor {
namespace {

using cmdtest::Listener;

using CommandNode = cmdtest::UndoLimitTest;

TEST_F(CommandNode, SetNodeExchangesTheContent) {
  FRef<MListNode> holder = makeRef<MListNode>();
  MEvent* event = cmdtest::put(*holder, cmdtest::makeEvent(0, 10));
  FRef<MDataNode> first = makeRef<MListNode>();
  FRef<MDataNode> second = makeRef<MListNode>();
  event->setNode(first);
  FRef<MSetNodeCommand> set(new MSetNodeCommand(FRef<MEvent>::share(event), second));
  EXPECT_EQ(set->description(), "Set Content");
  ASSERT_TRUE(set->perform());
  EXPECT_EQ(event->getNode(), second.get());
  ASSERT_TRUE(set->undo());
  EXPECT_EQ(event->getNode(), first.get());
  holder->setReadOnly(true);
  EXPECT_FALSE(set->redo());
  EXPECT_EQ(event->getNode(), first.get());
}

TEST_F(CommandNode, NodeDomainConvertsThroughTheTempoTrack) {
  FRef<MTempoTrackNode> tempo = makeRef<MTempoTrackNode>();  // 120 BPM: 480 pulses = 0.5 s
  FRef<MListNode> node = makeRef<MListNode>();
  // Start 960, length 480, offset 240 (content origin 720).
  MEvent* event = cmdtest::put(*node, cmdtest::makeEvent(960, 480, 240));
  Listener listener;
  ASSERT_TRUE(node->addDependent(&listener));
  FManualClock clock;
  GUndoManager manager(clock);
  FRef<MCommand> change(new MNodeDomainCommand(FRef<MDataNode>(node), MTimeDomain::kLinear, tempo));
  ASSERT_TRUE(manager.perform(change));
  EXPECT_EQ(manager.undoText(), "Undo Change Time Domain");
  EXPECT_EQ(node->getDomain(), MTimeDomain::kLinear);
  // Start 960 -> 1.0 s; end 1440 -> 1.5 s (length 0.5); origin 720 -> 0.75 s
  // (offset 1.0 - 0.75 = 0.25).
  EXPECT_DOUBLE_EQ(event->getStart(), 1.0);
  EXPECT_DOUBLE_EQ(event->getLength(), 0.5);
  EXPECT_DOUBLE_EQ(event->getOffset(), 0.25);
  EXPECT_EQ(listener.messages, (std::vector<int>{kDomainChangedMessage}));
  node->removeDependent(&listener);
}

TEST_F(CommandNode, NodeDomainWithoutTempoChangesOnlyTheDomain) {
  FRef<MListNode> node = makeRef<MListNode>();
  MEvent* event = cmdtest::put(*node, cmdtest::makeEvent(960, 480));
  FRef<MNodeDomainCommand> change(new MNodeDomainCommand(FRef<MDataNode>(node), MTimeDomain::kLinear));
  ASSERT_TRUE(change->perform());
  EXPECT_EQ(node->getDomain(), MTimeDomain::kLinear);
  EXPECT_EQ(event->getStart(), 960);
  // Already linear, or read-only: refused.
  EXPECT_FALSE(MNodeDomainCommand(FRef<MDataNode>(node), MTimeDomain::kLinear).perform());
  node->setReadOnly(true);
  EXPECT_FALSE(MNodeDomainCommand(FRef<MDataNode>(node), MTimeDomain::kMusical).perform());
  EXPECT_EQ(node->getDomain(), MTimeDomain::kLinear);
}

TEST_F(CommandNode, EventDomainConvertsTheContentAroundTheEventsOrigin) {
  // 120 BPM up to pulse 1920 (2.0 s), then 60 BPM: 480 pulses = 1 s.
  FRef<MTempoTrackNode> tempo = makeRef<MTempoTrackNode>();
  {
    FRef<MAccessor> accessor = tempo->getWriteAccessor();
    ASSERT_TRUE(accessor->insert(FRef<MEvent>(new MTempoEvent(1920, 60))));
  }
  FRef<MListNode> track = makeRef<MListNode>();
  auto part = makeRef<MPartEvent>();
  part->setName("Part");
  part->setStart(1920);
  part->setLength(1920);
  MEvent* placed = cmdtest::put(*track, FRef<MEvent>(part));
  ASSERT_NE(placed, nullptr);
  MEvent* note = cmdtest::put(*part->getNode(), cmdtest::makeEvent(0, 480));
  Listener listener;
  ASSERT_TRUE(part->addDependent(&listener));
  FRef<MEventDomainCommand> change(new MEventDomainCommand(FRef<MEvent>(part), MTimeDomain::kLinear, tempo));
  ASSERT_TRUE(change->perform());
  FDependencies::instance().deliverDeferred();
  // The note lies at project pulses 1920..2400: 2.0 s..3.0 s, so from the
  // part's origin it starts at 0 s and lasts 1 s (counting from project
  // time 0 instead would have given 0.5 s).
  EXPECT_EQ(part->getNode()->getDomain(), MTimeDomain::kLinear);
  EXPECT_DOUBLE_EQ(note->getStart(), 0);
  EXPECT_DOUBLE_EQ(note->getLength(), 1.0);
  EXPECT_EQ(listener.messages, (std::vector<int>{kDomainChangedMessage}));
  part->removeDependent(&listener);
}

}  // namespace
}  // namespace vantor
