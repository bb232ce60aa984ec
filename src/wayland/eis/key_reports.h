#pragma once

#include <cstdint>
#include <queue>

namespace ostler {

// Knows which of the keys that were sent the compositor has processed. Keys that have not been when
// it removes the keyboard may be lost.
class KeyReports {
public:
  void noteKey() { ++sent; }
  // A report was requested, of all keys that were sent before.
  void noteRequest() { requests.push(sent); }
  void noteReport() {
    if (requests.empty()) return;
    if (requests.front() > processed) processed = requests.front();
    requests.pop();
  }
  void noteRemoval() {
    lost = lost || processed < sent;
    processed = sent;
  }
  void forgetKeys() {
    lost = false;
    processed = sent;
  }

  bool isComplete() const { return processed == sent; }
  bool isPending() const { return !requests.empty(); }
  // Whether a report of all keys was requested.
  bool coversAll() const { return isPending() && requests.back() == sent; }
  bool mayHaveLostKeys() const { return lost; }

private:
  std::uint64_t sent = 0;
  std::uint64_t processed = 0;
  std::queue<std::uint64_t> requests;  // the number of keys that each covers; they are answered in order
  bool lost = false;
};

}  // namespace ostler
