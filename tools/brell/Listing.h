#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

class CBaseNode;

namespace brell::tool {

// What a scene holds, counted over every node of the tree.
struct SceneSummary {
    std::map<std::string, int64_t> nodesByType;
    int64_t nodes = 0;
    // Vertices of models and meshes, polygons of meshes, image nodes and their pixels.
    int64_t vertices = 0;
    int64_t polygons = 0;
    int64_t images = 0;
    int64_t pixels = 0;
};

// Nothing counted for a null root.
SceneSummary Summarize(CBaseNode* root);

}  // namespace brell::tool
