#pragma once

#include <memory>

#include "wayland/lazy/glib.h"

namespace ostler {

// Owners of what GLib hands out: one reference, or one allocation, each.

struct GLibRelease {
  void operator()(char* text) const { g_free(text); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
  void operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
  }
  void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
  void operator()(GUnixFDList* list) const { g_object_unref(list); }
};

template <typename T>
using GLibOwner = std::unique_ptr<T, GLibRelease>;

}  // namespace ostler
