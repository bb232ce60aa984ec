#pragma once

#include <memory>

namespace ostler {

// Releases a handle with the given function, for example `Owner<Display, XCloseDisplay>`. The
// function is a reference parameter, so that it can also be a variable that points to a function.
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
