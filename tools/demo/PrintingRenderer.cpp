#include "PrintingRenderer.h"

#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/procedures/DApi.h>
#include <brelldata/procedures/ProcedureNames.h>

#include <cstdio>
#include <string>

namespace {

const char* const kGeometryTypes[] = {
    "CGeoBaseNode",         "CGeoRefNode",         "CGeoSwitchNode",       "CGeoModeNode",      "CGeoLightNode",
    "CGeoCameraNode",       "CGeoVertexNode",      "CGeoPointNode",        "CGeoLineNode",      "CGeoPolygonNode",
    "CGeoNormalNode",       "CGeoPolyWireNode",    "CGeoVertexNormalNode", "CGeoWireFrameNode", "CGeoPolygonRefNode",
    "CGeoPolyShadeRefNode", "CGeoPolyWireRefNode", "CGeoPoint2DNode",      "CGeoLine2DNode",    "CGeoCrossLine2DNode",
    "CGeoRectangle2DNode",  "CGeoRegion2DNode",    "CGeoBezier2DNode",
};

int PrintDraw(void* node, void* context)
{
    auto* geo = static_cast<CGeoBaseNode*>(node);
    int& depth = static_cast<PrintContext*>(context)->depth;
    std::printf("%*sdraw %s \"%s\": %s\n", 2 * depth + 2, "", geo->Type().c_str(), geo->Name().c_str(),
                geo->Comment().c_str());
    ++depth;
    return 1;
}

int PrintEndDraw(void* node, void* context)
{
    int& depth = static_cast<PrintContext*>(context)->depth;
    --depth;
    std::printf("%*send %s\n", 2 * depth + 2, "", static_cast<CGeoBaseNode*>(node)->Name().c_str());
    return 1;
}

template <class Action>
void ForEachProcedureName(Action action)
{
    for (const char* type : kGeometryTypes) {
        action(brell::ProcedureName(brell::kDrawProcedure, type, kPrintRenderer), PrintDraw);
        action(brell::ProcedureName(brell::kEndDrawProcedure, type, kPrintRenderer), PrintEndDraw);
    }
}

}  // namespace

void RegisterPrintingRenderer()
{
    ForEachProcedureName([](const std::string& name, DAPI_PROC proc) {
        GetDApiManager()->Register(brell::kDrawProcedure.kind, name.c_str(), proc);
    });
}

void UnregisterPrintingRenderer()
{
    ForEachProcedureName([](const std::string& name, DAPI_PROC) {
        GetDApiManager()->Unregister(brell::kDrawProcedure.kind, name.c_str());
    });
}
