#include "model/MModelInit.h"

#include "model/MAccessor.h"
#include "model/MArrayNode.h"
#include "model/MDataNode.h"
#include "model/MEvent.h"

namespace vantor {

void registerTreeClasses() {
  MEvent::classDescriptor();
  GModel::classDescriptor();
  MDataNode::classDescriptor();
  MArrayNode::classDescriptor();
  MListNode::classDescriptor();
  MAccessor::classDescriptor();
  MArrayAccessor::classDescriptor();
  MListAccessor::classDescriptor();
}

}  // namespace vantor
