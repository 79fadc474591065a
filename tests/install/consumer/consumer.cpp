// Host code built against the installed package.
#include <brelldata/brelldata.h>

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
    std::puts(ok ? "consumer: ok" : "consumer: wrong results");
    return ok ? 0 : 1;
}
