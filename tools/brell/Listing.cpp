#include "Listing.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/scan/ModelNodes.h>

#include <utility>
#include <vector>

namespace brell::tool {

namespace {

// Visits root's subtree, a node before its children, without recursion: a
// tree read from a file may be deeper than the stack.
template <class Visit>
void Walk(CBaseNode* root, Visit visit)
{
    if (root == nullptr) return;
    std::vector<std::pair<CBaseNode*, int>> pending{{root, 0}};
    while (!pending.empty()) {
        auto [node, depth] = pending.back();
        pending.pop_back();
        visit(node, depth);
        for (unsigned int i = node->GetChildNum(); i-- > 0;) pending.emplace_back(node->GetChild(i), depth + 1);
    }
}

}  // namespace

SceneSummary Summarize(CBaseNode* root)
{
    SceneSummary summary;
    Walk(root, [&summary](CBaseNode* node, int) {
        ++summary.nodes;
        ++summary.nodesByType[node->Type()];
        if (auto* model = brell::AsKindOf<CModelNode>(node)) summary.vertices += model->VertexNumber();
        if (auto* mesh = brell::AsKindOf<CMeshNode>(node)) summary.polygons += mesh->polygons->Number();
        if (auto* imageNode = brell::AsKindOf<CImageNode>(node)) {
            const CMatrixDataStore<RGBA>& image = *imageNode->image;
            ++summary.images;
            summary.pixels += int64_t{image.width} * image.height;
        }
    });
    return summary;
}

}  // namespace brell::tool
