// A host without Node, which loads $OSTLER_ADDON and prints the result:
//   native_host clipboard     writes its input to the clipboard; its children inherit its standard streams
//   native_host glib          opens the backend while a source of its own is called in GLib's main context
//   native_host glib thread   the same, with that context run by another thread
// On its tenth call the source calls the backend too.

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <glib.h>

#include "driver/driver.h"

namespace {

template <typename Function>
Function find(const char* symbol) {
  // RTLD_LAZY, because this process does not define the functions of Node-API.
  void* const addon = dlopen(std::getenv("OSTLER_ADDON"), RTLD_LAZY);
  void* const function = addon != nullptr ? dlsym(addon, symbol) : nullptr;
  if (function == nullptr) std::cout << dlerror() << '\n' << std::flush;
  return reinterpret_cast<Function>(function);
}

int writeClipboard() {
  std::signal(SIGPIPE, SIG_IGN);  // as every host does
  const auto setClipboard = find<decltype(&driverSetClipboard)>(
      "_Z18driverSetClipboardRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
  setClipboard({std::istreambuf_iterator<char>(std::cin), {}});
  std::cout << "done\n";
  return 0;
}

std::string callBackend() {
  try {
    return std::to_string(find<decltype(&driverDisplay)>("_Z13driverDisplayv")().width);
  } catch (const std::exception& error) {
    return error.what();
  }
}

gboolean onTimeout(gpointer) {
  static int calls = 0;
  if (++calls < 10) return G_SOURCE_CONTINUE;
  std::cout << callBackend() << '\n';
  return G_SOURCE_REMOVE;
}

}  // namespace

int main(int count, char** arguments) {
  if (count > 1 && std::string(arguments[1]) == "clipboard") return writeClipboard();
  g_timeout_add(10, onTimeout, nullptr);
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  std::thread other;
  if (count > 2) other = std::thread([loop] { g_main_loop_run(loop); });
  while (count > 2 && !g_main_loop_is_running(loop)) std::this_thread::yield();
  const std::string result = callBackend();
  g_main_loop_quit(loop);
  if (other.joinable()) other.join();
  std::cout << result << '\n';
  g_main_loop_unref(loop);
  return 0;
}
