#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include "driver/driver.h"

namespace ostler {
namespace {

struct ProcessCloser {
  void operator()(FILE* stream) const { pclose(stream); }
};
using ProcessInput = std::unique_ptr<FILE, ProcessCloser>;

// Keeps a descriptor of this process from its children, for as long as it lives.
class DescriptorKept {
public:
  explicit DescriptorKept(int keptDescriptor)
      : descriptor(keptDescriptor), flags(fcntl(descriptor, F_GETFD)) {
    if (flags != -1) fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
  }
  DescriptorKept(const DescriptorKept&) = delete;
  DescriptorKept& operator=(const DescriptorKept&) = delete;
  ~DescriptorKept() {
    if (flags != -1) fcntl(descriptor, F_SETFD, flags);
  }

private:
  const int descriptor;
  const int flags;
};

// xclip stays in the background. With our output open there, whoever reads that
// to its end would wait for the next owner of the clipboard, and its complaints,
// or the shell's about a missing xclip, would reach our stderr.
ProcessInput startXclip() {
  const DescriptorKept output(STDOUT_FILENO), errors(STDERR_FILENO);
  // With "e" no child that another thread starts meanwhile holds the pipe open.
  return ProcessInput(popen("xclip -selection clipboard", "we"));
}

}  // namespace
}  // namespace ostler

void driverSetClipboard(const std::string& text) {
  const ostler::ProcessInput xclip = ostler::startXclip();
  if (xclip != nullptr) std::fwrite(text.data(), 1, text.size(), xclip.get());
}
