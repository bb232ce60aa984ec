#pragma once

#include "base/owner.h"
#include "wayland/lazy/glib.h"

namespace ostler {

// Each type owns one reference or one allocation of GLib.

inline void destroySource(GSource* source) {
  g_source_destroy(source);
  g_source_unref(source);
}

using GLibString = Owner<char, g_free>;
using GLibError = Owner<GError, g_error_free>;
using Variant = Owner<GVariant, g_variant_unref>;
using MainContext = Owner<GMainContext, g_main_context_unref>;
using MainLoop = Owner<GMainLoop, g_main_loop_unref>;
using Source = Owner<GSource, destroySource>;
using BusConnection = Owner<GDBusConnection, g_object_unref>;
using DescriptorList = Owner<GUnixFDList, g_object_unref>;

}  // namespace ostler
