#include <brelldata/io/ScanScene.h>

#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace brell::io {

namespace {

class BoxBuilder {
public:
    void Add(double x, double y, double z)
    {
        if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return;
        const double point[3] = {x, y, z};
        for (int i = 0; i < 3; ++i) {
            box_[i] = std::fmin(box_[i], point[i]);
            box_[i + 3] = std::fmax(box_[i + 3], point[i]);
        }
        found_ = true;
    }
    bool CopyTo(double box[6]) const
    {
        if (found_) std::copy(box_, box_ + 6, box);
        return found_;
    }

private:
    static constexpr double kInfinity = std::numeric_limits<double>::infinity();
    double box_[6] = {kInfinity, kInfinity, kInfinity, -kInfinity, -kInfinity, -kInfinity};
    bool found_ = false;
};

void AddScanData(CBaseNode* node, BoxBuilder& box)
{
    if (auto* model = AsKindOf<CModelNode>(node)) {
        CArrayDataStore<VERTEX>& vertices = *model->vertices;
        for (int i = 0; i < vertices.Number(); ++i)
            box.Add(vertices.Buffer()[i].x, vertices.Buffer()[i].y, vertices.Buffer()[i].z);
    } else if (auto* line = AsKindOf<CLinearLineNode>(node)) {
        for (const auto& points : line->lines->lines)
            for (const CVector_3<double>& p : points) box.Add(p.x, p.y, p.z);
    }
}

}  // namespace

bool ScanSceneBox(CBaseNode* root, double box[6])
{
    BoxBuilder builder;
    std::vector<CBaseNode*> pending;
    if (root != nullptr) pending.push_back(root);
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        AddScanData(node, builder);
        // Scan-data nodes reject their level-of-detail children.
        const bool scanData = node->IsKindOf(CObjectNode::TypeId()) != 0;
        for (unsigned int i = 0; i < node->GetChildNum(); ++i) {
            CBaseNode* child = node->GetChild(i);
            if (child != nullptr && (!scanData || node->IsChildEnable(static_cast<int>(i)) != 0))
                pending.push_back(child);
        }
    }
    return builder.CopyTo(box);
}

}  // namespace brell::io
