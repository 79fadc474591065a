#pragma once

// Node classes of the tests' own: a five-class chain under CBaseNode.

#include <brelldata/core/BaseNode.h>

class CTestShapeNode : public CBaseNode {
    BRELL_NODE_TYPE(CTestShapeNode, CBaseNode)
};

class CTestSolidNode : public CTestShapeNode {
    BRELL_NODE_TYPE(CTestSolidNode, CTestShapeNode)
};

class CTestBoxNode : public CTestSolidNode {
    BRELL_NODE_TYPE(CTestBoxNode, CTestSolidNode)
};

class CTestCubeNode : public CTestBoxNode {
    BRELL_NODE_TYPE(CTestCubeNode, CTestBoxNode)
};
