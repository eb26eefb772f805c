// ComPtr<T>: owns one counted reference on an object with AddRef and Release.
//
// The reference is released when the owner is destroyed or reset, on every way out of a scope,
// thrown exceptions included. It serves COM interfaces and the system's own counted interfaces
// (storage items, data system items) alike.
#pragma once

#include <utility>

namespace Platform {

template <class T>
class ComPtr {
public:
  ComPtr() = default;
  // Takes over a reference that the caller owns; no AddRef.
  explicit ComPtr(T* object) : m_object(object) {}
  ComPtr(ComPtr&& other) noexcept : m_object(other.Detach()) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    Reset(other.Detach());
    return *this;
  }
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ~ComPtr() { Reset(); }

  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }

  // Receives a new reference from a function with an out parameter; releases the old one first.
  T** Put() {
    Reset();
    return &m_object;
  }
  // The same for functions that write an untyped pointer (CoCreateInstance, QueryInterface).
  void** PutVoid() {
    Reset();
    return reinterpret_cast<void**>(&m_object);
  }

  // Gives up ownership; the caller releases the returned reference.
  T* Detach() { return std::exchange(m_object, nullptr); }

  // Releases the held reference and takes over `object`'s, which the caller owned.
  void Reset(T* object = nullptr) {
    T* old = std::exchange(m_object, object);
    if (old != nullptr) old->Release();
  }

private:
  T* m_object = nullptr;
};

}  // namespace Platform
