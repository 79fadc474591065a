// Host code built against the installed package.
#include <brelldata/brelldata.h>
#include <brelldata/io/ScanFormats.h>

#include <cstdio>

int main()
{
    CBaseNode* root = CreateNode("CBaseNode");
    CBaseNode* child = CreateNode("CRefNode");
    if (root == nullptr || child == nullptr) return 1;
    root->AddRef();
    root->AppendChild(child);
    child->SetAttributeInt("count", 7);
    int count = 0;
    bool ok = child->QueryAttributeInt("count", count) == 1 && count == 7 && child->RefCount() == 1;
    root->Release();

    const brell::io::ScanGeometry points = brell::io::ReadXyz("1 2 3\n4 5 6\n", "points.xyz");
    ok = ok && points.positions.size() == 2 && points.positions[1].z == 6.0;
    try {
        brell::io::ReadXyz("1 2\n", "bad.xyz");
        ok = false;
    } catch (const brell::io::FileError&) {
    }
    std::puts(ok ? "consumer: ok" : "consumer: wrong results");
    return ok ? 0 : 1;
}
