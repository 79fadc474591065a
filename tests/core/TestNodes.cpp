#include "core/TestNodes.h"

#include <new>

BRELL_NODE_TYPE_DEFINE(CTestShapeNode, CBaseNode)
BRELL_NODE_TYPE_DEFINE(CTestSolidNode, CTestShapeNode)
BRELL_NODE_TYPE_DEFINE(CTestBoxNode, CTestSolidNode)
BRELL_NODE_TYPE_DEFINE(CTestCubeNode, CTestBoxNode)
