#include "DemoSections.h"

#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/Normal.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>

#include <cstdio>

namespace {

void PrintVertex(const char* label, const VERTEX& v)
{
    std::printf("  %s (%g, %g, %g)\n", label, v.x, v.y, v.z);
}

// Adding 0.0 shows a cross product's negative zeros as plain zeros.
void PrintNormal(const char* label, const CVector_3<double>& n)
{
    std::printf("  %s (%g, %g, %g)\n", label, n.x + 0.0, n.y + 0.0, n.z + 0.0);
}

}  // namespace

void ShowPointCloud()
{
    const VERTEX corners[] = {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 1}};
    CRefData<CArrayDataStore<VERTEX>> cloud;
    cloud->Append(4);
    for (int i = 0; i < 4; ++i) cloud->Element(i) = corners[i];
    std::printf("a point cloud of %d vertices (capacity %d), store count %d\n", cloud->Number(), cloud->Capacity(),
                cloud->RefCount());

    CRefData<CArrayDataStore<VERTEX>> view(cloud);
    std::printf("a second handle shares the store: store count %d, same store: %s\n", cloud->RefCount(),
                &*view == &*cloud ? "yes" : "no");
    view->Element(3).z = 0;
    std::printf("vertex 3 flattened through the second handle, seen through the first:\n");
    PrintVertex("vertex 3", cloud->Element(3));
    std::printf("past the end ElementPtr(4) gives %p and Element(4) the spare vertex\n",
                static_cast<void*>(cloud->ElementPtr(4)));

    int square[] = {0, 1, 2, 3};
    int reversed[] = {2, 1, 0};
    std::printf("face normals (right-handed in the order of the corners):\n");
    PrintNormal("0-1-2-3", CalcNormal(cloud, square, 4));
    PrintNormal("2-1-0", CalcNormal(cloud, reversed, 3));

    CRefData<CArrayDataStore<CVector_3<float>>> normals;
    normals->Append(3);
    normals->Element(0) = {3, 0, 4};
    normals->Element(1) = {0, 0, 0};
    normals->Element(2) = {1, 1, 1};
    UnitFloatNormal(normals);
    std::printf("float normals scaled to unit length (a zero vector becomes (1, 0, 0)):\n");
    for (int i = 0; i < normals->Number(); ++i) {
        const CVector_3<float>& n = normals->Element(i);
        std::printf("  normal %d (%.7g, %.7g, %.7g)\n", i, n.x, n.y, n.z);
    }
}
