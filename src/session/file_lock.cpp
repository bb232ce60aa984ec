#include "session/file_lock.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>

#include "base/file_descriptor.h"

namespace ostler {

std::int32_t lockFile(const std::string& path, bool wait) {
  FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (file) {
    int result = 0;
    do {
      result = flock(file.get(), wait ? LOCK_EX : LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result == 0) return file.release();
    if (errno == EWOULDBLOCK) return -1;
  }
  throw std::runtime_error("Unable to lock " + path + ": " + std::strerror(errno));
}

}  // namespace ostler
