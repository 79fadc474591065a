#include "core/TreeFixtures.h"

namespace brell::test {

BRELL_NODE_TYPE_DEFINE(CTestCountedNode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CTestUnregisteredNode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CTestGateNode, CBaseNode)

}  // namespace brell::test
