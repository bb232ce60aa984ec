// A host other than Node: its children inherit its standard streams. Writes its
// input's text to the clipboard, then prints "done".
//   plain_host ADDON

#include <csignal>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

#include <dlfcn.h>

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
  std::signal(SIGPIPE, SIG_IGN);  // as every host does
  setClipboard(text);
  std::puts("done");
  return 0;
}
