#include "backend/held_record.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include <sys/mman.h>
#include <sys/stat.h>

namespace ostler {
namespace {

constexpr std::size_t size = 4096;

[[noreturn]] void fail(int error) {
  throw std::runtime_error(std::string("Unable to map the record of pressed keys: ") + std::strerror(error));
}

// An access to a page beyond the end of the file would be fatal.
void requireFullPage(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) != 0) fail(errno);
  if (status.st_size < static_cast<off_t>(size)) fail(EINVAL);
}

}  // namespace

void HeldRecord::Unmap::operator()(unsigned char* memory) const { munmap(memory, size); }

HeldRecord::HeldRecord(int descriptor) {
  if (descriptor >= 0) requireFullPage(descriptor);
  const int flags = descriptor >= 0 ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS;
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, descriptor, 0);
  if (memory == MAP_FAILED) fail(errno);
  bytes.reset(static_cast<unsigned char*>(memory));
}

// The process can be killed between any two instructions, so the compiler must not move these
// writes across the events that they describe.
void HeldRecord::add(std::uint32_t code) {
  if (code >= codes) return;
  std::atomic_ref(bytes.get()[code / 8]).fetch_or(static_cast<unsigned char>(1U << code % 8));
}

void HeldRecord::remove(std::uint32_t code) {
  if (code >= codes) return;
  std::atomic_ref(bytes.get()[code / 8]).fetch_and(static_cast<unsigned char>(~(1U << code % 8)));
}

HeldRecord::Codes HeldRecord::held() const {
  Codes result;
  for (std::size_t code = 0; code < codes; ++code)
    result[code] = (bytes.get()[code / 8] >> code % 8 & 1) != 0;
  return result;
}

}  // namespace ostler
