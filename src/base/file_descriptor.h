#pragma once

#include <utility>

#include <unistd.h>

namespace ostler {

// Owns a file descriptor and closes it; -1 means none. Pass release() to a library that takes over
// the descriptor.
class FileDescriptor {
public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) noexcept : fd(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd, other.fd);
    return *this;
  }
  ~FileDescriptor() {
    if (fd >= 0) close(fd);
  }

  int get() const noexcept { return fd; }
  int release() noexcept { return std::exchange(fd, -1); }
  explicit operator bool() const noexcept { return fd >= 0; }

private:
  int fd = -1;
};

}  // namespace ostler
