// A host that uses GLib's main context as well: it opens a portal session while
// a source of its own is called in that context, by the same thread, or, as
// "glib_host THREAD", by another one. Prints how often the source was called.

#include <atomic>
#include <iostream>
#include <optional>
#include <thread>

#include <glib.h>

#include "wayland/lazy/load.h"
#include "wayland/portal_session.h"

int main(int count, char**) {
  ostler::loadWaylandLibraries();
  std::atomic<int> calls = 0;
  const auto call = [](gpointer counter) -> gboolean {
    ++*static_cast<std::atomic<int>*>(counter);
    return TRUE;
  };
  g_timeout_add(10, call, &calls);
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  std::thread other;
  if (count > 1) other = std::thread([loop] { g_main_loop_run(loop); });
  while (count > 1 && !g_main_loop_is_running(loop)) std::this_thread::yield();
  std::optional<ostler::PortalSession>().emplace();
  g_main_loop_quit(loop);
  if (other.joinable()) other.join();
  g_main_loop_unref(loop);
  std::cout << calls << '\n';
  return 0;
}
