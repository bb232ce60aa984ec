// A host that is no Node: SIGPIPE ends it, and its descriptors are inherited by
// its children. Writes its input's text to the clipboard, then prints "done".
//   plain_host ADDON

#include <csignal>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

#include <dlfcn.h>
#include <sys/time.h>

int main(int count, char** arguments) {
  if (count < 2) return 2;
  // Lazily, for there is no Node-API here.
  void* addon = dlopen(arguments[1], RTLD_LAZY);
  if (addon == nullptr) {
    std::cerr << dlerror() << '\n';
    return 2;
  }
  const auto setClipboard = reinterpret_cast<void (*)(const std::string&)>(
      dlsym(addon, "_Z18driverSetClipboardRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"));
  if (setClipboard == nullptr) return 2;
  const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  // Interrupted all the time meanwhile, by a signal that it handles.
  struct sigaction ignored = {};
  ignored.sa_handler = [](int) {};
  sigaction(SIGALRM, &ignored, nullptr);
  constexpr timeval often{0, 500};
  constexpr itimerval storm{often, often};
  setitimer(ITIMER_REAL, &storm, nullptr);
  setClipboard(text);
  std::puts("done");
  return 0;
}
