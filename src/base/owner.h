#pragma once

#include <memory>

namespace ostler {

// Releases with the given function: `Owner<Display, XCloseDisplay>`. It is
// taken by reference, so that it may also be a variable that points to a
// function.
template <auto& release>
struct Deleter {
  template <typename T>
  void operator()(T* handle) const {
    release(handle);
  }
};

template <typename T, auto& release>
using Owner = std::unique_ptr<T, Deleter<release>>;

}  // namespace ostler
