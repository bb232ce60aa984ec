#pragma once

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace ostler {

// Leaves new elements uninitialised. An image whose pixels are all overwritten does not need zeroes
// first, and the page faults of writing them cost as much as the copy.
template <typename T>
struct UninitialisedAllocator : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = UninitialisedAllocator<U>;
  };

  template <typename U>
  void construct(U* place) noexcept(std::is_nothrow_default_constructible_v<U>) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename... Args>
  void construct(U* place, Args&&... args) {
    ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
  }
};

using PixelBytes = std::vector<unsigned char, UninitialisedAllocator<unsigned char>>;

}  // namespace ostler
