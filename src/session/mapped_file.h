#pragma once

#include <cstddef>
#include <memory>

namespace ostler {

// The memory of a file that exists only in memory, in which results are written for the host.
class MappedFile {
public:
  // Returns the memory at an offset of the file, which grows where it is shorter; null when that
  // fails. It stays mapped, because mapping it anew costs as much as writing to it. The descriptor
  // must not be closed meanwhile.
  unsigned char* at(int file, std::size_t offset, std::size_t length);

private:
  struct Unmap {
    std::size_t size;
    void operator()(unsigned char* memory) const;
  };

  int mapped = -1;  // the descriptor
  std::size_t size = 0;
  std::unique_ptr<unsigned char, Unmap> bytes;
};

}  // namespace ostler
