// A host other than Node, which prints the outcome:
//   native_host clipboard     writes its input to the clipboard; its children inherit its standard streams
//   native_host glib          opens the backend while a source of its own is called in GLib's main context
//   native_host glib thread   the same, with that context run by another thread
// The tenth call of the source calls the backend in its turn.

#include <csignal>
#include <exception>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>

#include <glib.h>

#include "driver/driver.h"

namespace {

int writeClipboard() {
  std::signal(SIGPIPE, SIG_IGN);  // as every host does
  driverSetClipboard({std::istreambuf_iterator<char>(std::cin), {}});
  std::cout << "done\n";
  return 0;
}

std::string callBackend() {
  try {
    return std::to_string(driverDisplay().width);
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
