// NoDestructor<T>: a function-local static that is built on first use and never destroyed.
//
// For process-wide objects that code running in static destructors (or after a library's unload
// has begun) may still reach, such as the log's lock and the debug channel's hook. It lives in
// static storage, so it is neither destroyed nor reported as leaked.
#pragma once

#include <new>
#include <utility>

namespace Platform {

template <class T>
class NoDestructor {
public:
  template <class... Args>
  explicit NoDestructor(Args&&... args) {
    new (m_storage) T(std::forward<Args>(args)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  T& operator*() { return *std::launder(reinterpret_cast<T*>(m_storage)); }
  T* operator->() { return &**this; }

private:
  alignas(T) unsigned char m_storage[sizeof(T)];
};

}  // namespace Platform
