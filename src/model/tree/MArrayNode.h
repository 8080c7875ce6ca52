#pragma once
// Nodes whose content is an ordered container of events: MArrayNode (an
// array) and MListNode (a list). Both persist their events under "Events".

#include "model/tree/MDataNode.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

class MArrayNode : public MDataNode {
  VANTOR_CLASS(MArrayNode)
 public:
  MArrayNode() : events_(this) {}
  MEventContainer* events() override { return &events_; }
  MEventArray& array() { return events_; }
  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  MEventArray events_;
};

class MListNode : public MDataNode {
  VANTOR_CLASS(MListNode)
 public:
  MListNode() : events_(this) {}
  MEventContainer* events() override { return &events_; }
  MEventList& list() { return events_; }
  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  MEventList events_;
};

}  // namespace vantor
