#pragma once

#include <brelldata/Export.h>

// Reference-count base of shared data objects such as the data stores.
// A new object has count 0; the Release that brings the count below 1
// destroys it.
class BRELL_API CRef {
public:
    CRef() = default;
    // A copy is a new object: it starts with count 0 whatever the source's count.
    CRef(const CRef&) : refCount_(0) {}
    // Assignment keeps this object's own count.
    CRef& operator=(const CRef&) { return *this; }
    virtual ~CRef();

    virtual void Release();
    virtual void AddRef();

    int RefCount() const { return refCount_; }

private:
    int refCount_ = 0;
};
