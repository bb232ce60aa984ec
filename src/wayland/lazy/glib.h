#pragma once

#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include "wayland/lazy/declare.h"

// The functions of GLib, GObject and GIO that are called.
// clang-format off
#define OSTLER_GLIB_FUNCTIONS(apply) \
  apply(g_bus_get_sync) \
  apply(g_dbus_connection_call_sync) \
  apply(g_dbus_connection_call_with_unix_fd_list_sync) \
  apply(g_dbus_connection_is_closed) \
  apply(g_dbus_connection_set_exit_on_close) \
  apply(g_dbus_connection_signal_subscribe) \
  apply(g_dbus_connection_signal_unsubscribe) \
  apply(g_error_free) \
  apply(g_free) \
  apply(g_main_context_acquire) \
  apply(g_main_context_default) \
  apply(g_main_context_get_thread_default) \
  apply(g_main_context_iteration) \
  apply(g_main_context_new) \
  apply(g_main_context_pop_thread_default) \
  apply(g_main_context_push_thread_default) \
  apply(g_main_context_ref) \
  apply(g_main_context_release) \
  apply(g_main_context_unref) \
  apply(g_main_context_wakeup) \
  apply(g_main_loop_new) \
  apply(g_main_loop_quit) \
  apply(g_main_loop_run) \
  apply(g_main_loop_unref) \
  apply(g_object_unref) \
  apply(g_source_attach) \
  apply(g_source_destroy) \
  apply(g_source_set_callback) \
  apply(g_source_unref) \
  apply(g_timeout_source_new) \
  apply(g_unix_fd_list_get) \
  apply(g_unix_fd_list_get_length) \
  apply(g_uuid_string_random) \
  apply(g_variant_builder_add) \
  apply(g_variant_builder_clear) \
  apply(g_variant_builder_init) \
  apply(g_variant_get) \
  apply(g_variant_get_child) \
  apply(g_variant_get_child_value) \
  apply(g_variant_get_uint32) \
  apply(g_variant_get_variant) \
  apply(g_variant_is_object_path) \
  apply(g_variant_is_of_type) \
  apply(g_variant_lookup) \
  apply(g_variant_lookup_value) \
  apply(g_variant_n_children) \
  apply(g_variant_new) \
  apply(g_variant_new_boolean) \
  apply(g_variant_new_string) \
  apply(g_variant_new_strv) \
  apply(g_variant_new_uint32) \
  apply(g_variant_ref_sink) \
  apply(g_variant_type_checked_) \
  apply(g_variant_unref)
// clang-format on

namespace ostler {

OSTLER_GLIB_FUNCTIONS(OSTLER_DECLARE_LAZY)

}  // namespace ostler
