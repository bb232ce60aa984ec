// A host that uses GLib's main context as well: it opens the backend while a
// source of its own is called in that context, by the same thread, or, as
// "glib_host THREAD", by another one. The tenth call of the source calls the
// backend in its turn; what comes of that is printed.

#include <exception>
#include <iostream>
#include <string>
#include <thread>

#include <glib.h>

#include "driver/selection.h"

namespace {

std::string callBackend() {
  try {
    return std::to_string(ostler::backendInstance().display().width);
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

int main(int count, char**) {
  g_timeout_add(10, onTimeout, nullptr);
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  std::thread other;
  if (count > 1) other = std::thread([loop] { g_main_loop_run(loop); });
  while (count > 1 && !g_main_loop_is_running(loop)) std::this_thread::yield();
  const std::string result = callBackend();
  g_main_loop_quit(loop);
  if (other.joinable()) other.join();
  std::cout << result << '\n';
  g_main_loop_unref(loop);
  return 0;
}
