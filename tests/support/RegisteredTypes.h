#pragma once

#include <string>
#include <vector>

namespace brell::test {

// The node types the library registers at start-up, in registration order.
inline const std::vector<std::string> kRegisteredTypes = {
    "CBaseNode",           "CRefNode",           "CObjectNode",
    "CElementNode",        "CLodNode",           "CModelNode",
    "CMeshNode",           "CLinearLineNode",    "CBezierLineNode",
    "CCharLineNode",       "CImageNode",         "CGeoBaseNode",
    "CGeoRefNode",         "CGeoSwitchNode",     "CGeoModeNode",
    "CGeoLightNode",       "CGeoCameraNode",     "CGeoVertexNode",
    "CGeoPointNode",       "CGeoLineNode",       "CGeoPolygonNode",
    "CGeoNormalNode",      "CGeoPolyWireNode",   "CGeoVertexNormalNode",
    "CGeoWireFrameNode",   "CGeoPolygonRefNode", "CGeoPolyShadeRefNode",
    "CGeoPolyWireRefNode",
};

}  // namespace brell::test
