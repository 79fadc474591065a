#pragma once

#include <new>

// Shared, reference-counted stores for bulk scan data, reached through
// CRefData handles. Every store keeps one spare element: reference access at
// a position outside the store yields it, so out-of-range writes change nothing
// else. Stores hold trivially copyable records and move them as raw memory.

// Handle on a shared store: always points at a store and holds one reference
// on it. Copies share the store; nothing is copied on write.
template <class Store>
class CRefData {
public:
    // A new, empty store held by this handle alone.
    CRefData() : store_(new Store) { store_->AddRef(); }
    CRefData(const CRefData& other) : store_(other.store_) { store_->AddRef(); }
    CRefData& operator=(const CRefData& other)
    {
        other.store_->AddRef();
        store_->Release();
        store_ = other.store_;
        return *this;
    }
    ~CRefData() { store_->Release(); }

    Store* operator->() const { return store_; }
    Store& operator*() const { return *store_; }

    // Gives this handle a private copy of a shared store (no copy when it is
    // not shared). 0 when the copy cannot be made; the handle then keeps the
    // shared store.
    int Unshare()
    {
        if (store_->RefCount() < 2) return 1;
        Store* copy = new (std::nothrow) Store;
        if (copy == nullptr) return 0;
        copy->AddRef();
        if (!copy->Assign(*store_)) {
            copy->Release();
            return 0;
        }
        store_->Release();
        store_ = copy;
        return 1;
    }

private:
    Store* store_;
};
