#include "core/TreeFixtures.h"

namespace brell::test {

BRELL_NODE_TYPE_DEFINE(CTestShapeNode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CTestBoxNode, CTestShapeNode)
BRELL_NODE_TYPE_DEFINE(CTestCubeNode, CTestBoxNode)
BRELL_NODE_TYPE_DEFINE(CTestCountedNode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CTestUnregisteredNode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CTestGateNode, CBaseNode)

}  // namespace brell::test
