#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "base/owner.h"
#include "x11/clipboard.h"

namespace ostler {
namespace {

using ProcessInput = Owner<FILE, pclose>;

// Marks a descriptor as close-on-exec while this object exists, so that child processes started
// meanwhile do not inherit the descriptor.
class CloseOnExec {
public:
  explicit CloseOnExec(int markedDescriptor)
      : descriptor(markedDescriptor), flags(fcntl(descriptor, F_GETFD)) {
    if (flags != -1) fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
  }
  CloseOnExec(const CloseOnExec&) = delete;
  CloseOnExec& operator=(const CloseOnExec&) = delete;
  ~CloseOnExec() {
    if (flags != -1) fcntl(descriptor, F_SETFD, flags);
  }

private:
  const int descriptor;
  const int flags;
};

// xclip stays in the background. If it inherited our stdout, a reader that waits for the end of our
// output would wait until another program owns the clipboard. If it inherited our stderr, its error
// messages, or the shell's when xclip is missing, would appear there.
ProcessInput startXclip() {
  const CloseOnExec output(STDOUT_FILENO), errors(STDERR_FILENO);
  // "e" keeps the pipe out of child processes that other threads start meanwhile.
  return ProcessInput(popen("xclip -selection clipboard", "we"));
}

}  // namespace

void writeClipboard(const std::string& text) {
  const ProcessInput xclip = startXclip();
  if (xclip != nullptr) std::fwrite(text.data(), 1, text.size(), xclip.get());
}

}  // namespace ostler
