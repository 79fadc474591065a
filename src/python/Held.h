#pragma once

#include <pybind11/pybind11.h>

#include <utility>

namespace brell::python {

// The holder of every node and store that Python sees: it takes one
// reference when made and gives it back when destroyed, so a Python object
// holds exactly one reference on what it wraps, however it came to Python.
template <class T>
class Held {
public:
    Held() = default;
    explicit Held(T* object) : object_(object)
    {
        if (object_ != nullptr) object_->AddRef();
    }
    Held(const Held& other) : Held(other.object_) {}
    Held(Held&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Held& operator=(Held other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Held()
    {
        if (object_ != nullptr) object_->Release();
    }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }

private:
    T* object_ = nullptr;
};

}  // namespace brell::python

// Intrusive: pybind11 makes the holder from the raw pointer every time it
// hands a node or store to Python, whatever the return value policy.
PYBIND11_DECLARE_HOLDER_TYPE(T, brell::python::Held<T>, true);
