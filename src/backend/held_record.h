#pragma once

#include <bitset>
#include <cstdint>

#include "base/owner.h"

namespace ostler {

// Records which keys and buttons a session holds down and which keys it has mapped to other
// characters, as one bit for each code. The record can be in a file that another process also has
// open: when this process has been killed, the other one still reads what has to be released. Bit n
// is bit n % 8 of byte n / 8.
class HeldRecord {
public:
  static constexpr std::size_t codes = 1024;
  // From this code on the record has what outlives a call: changes of the keyboard map. Keys and
  // buttons have lower codes.
  static constexpr std::uint32_t firstLasting = 768;
  using Codes = std::bitset<codes>;

  // The record is at the start of the file, which must have at least 4096 bytes. What it already
  // contains stays. Without a file (-1) the record is private. Throws std::runtime_error.
  explicit HeldRecord(int descriptor);

  void add(std::uint32_t code);
  void remove(std::uint32_t code);
  Codes held() const;

private:
  struct Unmap {
    void operator()(unsigned char* memory) const;
  };
  std::unique_ptr<unsigned char, Unmap> bytes;
};

}  // namespace ostler
