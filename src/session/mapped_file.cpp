#include "session/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace ostler {

void MappedFile::Unmap::operator()(unsigned char* memory) const { munmap(memory, size); }

unsigned char* MappedFile::at(int file, std::size_t offset, std::size_t length) {
  const std::size_t wanted = offset + length;
  if (file != mapped || wanted > size) {
    // Where no memory is left, a write to a page that the file does not have yet would be fatal.
    if (posix_fallocate(file, 0, static_cast<off_t>(wanted)) != 0) return nullptr;
    void* const memory = mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) return nullptr;
    bytes = {static_cast<unsigned char*>(memory), Unmap{wanted}};
    mapped = file;
    size = wanted;
  }
  return bytes.get() + offset;
}

}  // namespace ostler
