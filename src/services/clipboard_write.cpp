#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include "driver/driver.h"

namespace ostler {
namespace {

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

struct ProcessCloser {
  void operator()(FILE* stream) const { pclose(stream); }
};
using ProcessInput = std::unique_ptr<FILE, ProcessCloser>;

// The descriptors that a child of this process would inherit.
std::vector<int> inheritableDescriptors() {
  std::vector<int> descriptors;
  const auto addIfInheritable = [&](int descriptor) {
    const int flags = fcntl(descriptor, F_GETFD);
    if (flags != -1 && (flags & FD_CLOEXEC) == 0) descriptors.push_back(descriptor);
  };
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir("/proc/self/fd"));
  if (directory == nullptr) {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) addIfInheritable(descriptor);
    return descriptors;
  }
  while (const dirent* entry = readdir(directory.get())) {
    int descriptor = -1;  // and for "." and ".."
    std::from_chars(entry->d_name, entry->d_name + std::strlen(entry->d_name), descriptor);
    addIfInheritable(descriptor);
  }
  return descriptors;
}

// Keeps this process's descriptors from its children, for as long as it lives.
// xclip stays in the background: with our output in its hands, whoever reads
// that to its end would wait for the next owner of the clipboard, and its
// complaints, or the shell's about a missing xclip, would reach our stderr.
class DescriptorsKept {
public:
  DescriptorsKept() : descriptors(inheritableDescriptors()) { setFlags(FD_CLOEXEC); }
  DescriptorsKept(const DescriptorsKept&) = delete;
  DescriptorsKept& operator=(const DescriptorsKept&) = delete;
  ~DescriptorsKept() { setFlags(0); }

private:
  void setFlags(int flags) const {
    for (const int descriptor : descriptors) fcntl(descriptor, F_SETFD, flags);
  }

  const std::vector<int> descriptors;
};

// Holds back the signal that a write to an ended process raises in this thread.
class SigpipeHeldBack {
public:
  SigpipeHeldBack() {
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &sigpipe, &previousMask);
  }
  SigpipeHeldBack(const SigpipeHeldBack&) = delete;
  SigpipeHeldBack& operator=(const SigpipeHeldBack&) = delete;
  ~SigpipeHeldBack() {
    const timespec atOnce{};
    while (!wasPending && sigtimedwait(&sigpipe, nullptr, &atOnce) == -1 && errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &previousMask, nullptr);
  }

private:
  sigset_t sigpipe;
  sigset_t previousMask;
  bool wasPending = false;
};

ProcessInput startXclip() {
  const DescriptorsKept kept;
  // With "e" no child that another thread starts meanwhile holds the pipe open.
  return ProcessInput(popen("xclip -selection clipboard", "we"));
}

// A signal that the host handles may end a write half way. Without a buffer the
// stream tells exactly how much went out.
void writeAll(std::FILE* stream, const std::string& text) {
  std::setvbuf(stream, nullptr, _IONBF, 0);
  for (std::size_t written = 0; written < text.size();) {
    written += std::fwrite(text.data() + written, 1, text.size() - written, stream);
    if (written < text.size() && errno != EINTR) return;
    std::clearerr(stream);
  }
}

}  // namespace
}  // namespace ostler

void driverSetClipboard(const std::string& text) {
  // A signal mask is inherited, so xclip has to be started before it changes.
  ostler::ProcessInput xclip = ostler::startXclip();
  if (xclip == nullptr) return;
  const ostler::SigpipeHeldBack heldBack;
  ostler::writeAll(xclip.get(), text);
  xclip.reset();
}
