#include <brelldata/core/Ref.h>

CRef::~CRef() = default;

void CRef::Release()
{
    if (--refCount_ < 1) delete this;
}

void CRef::AddRef()
{
    ++refCount_;
}
