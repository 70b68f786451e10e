#pragma once

#include <memory>
#include <new>
#include <utility>

namespace korvane {

// Holds a process-wide object whose destructor never runs, so that threads still working while
// the process exits never meet a destroyed one.
template <typename T>
class NoDestructor {
 public:
  template <typename... Args>
  explicit NoDestructor(Args&&... args) {
    std::construct_at(pointer(), std::forward<Args>(args)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  T& get() { return *pointer(); }

 private:
  T* pointer() { return std::launder(reinterpret_cast<T*>(storage_)); }
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace korvane
