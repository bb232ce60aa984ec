#pragma once

// The functions that we call of libraries which only Wayland sessions need. A
// call of one that is missing here leaves an undefined symbol in the addon,
// which a test looks for.

#define OSTLER_GLIB_FUNCTIONS(X)                                                                            \
  X(g_error_free)                                                                                           \
  X(g_free)                                                                                                 \
  X(g_main_context_acquire) X(g_main_context_default) X(g_main_context_get_thread_default)                  \
      X(g_main_context_iteration) X(g_main_context_new) X(g_main_context_pop_thread_default)                \
          X(g_main_context_push_thread_default) X(g_main_context_ref) X(g_main_context_release)             \
              X(g_main_context_unref) X(g_main_loop_new) X(g_main_loop_quit) X(g_main_loop_run)             \
                  X(g_main_loop_unref) X(g_source_attach) X(g_source_destroy) X(g_source_set_callback)      \
                      X(g_source_unref) X(g_timeout_source_new) X(g_uuid_string_random)                     \
                          X(g_variant_builder_add) X(g_variant_builder_clear) X(g_variant_builder_init)     \
                              X(g_variant_get) X(g_variant_get_child) X(g_variant_get_uint32)               \
                                  X(g_variant_get_variant) X(g_variant_is_object_path)                      \
                                      X(g_variant_is_of_type) X(g_variant_lookup) X(g_variant_lookup_value) \
                                          X(g_variant_n_children) X(g_variant_new) X(g_variant_new_boolean) \
                                              X(g_variant_new_string) X(g_variant_new_uint32)               \
                                                  X(g_variant_ref_sink) X(g_variant_type_checked_)          \
                                                      X(g_variant_unref)

#define OSTLER_GOBJECT_FUNCTIONS(X) X(g_object_unref)

#define OSTLER_GIO_FUNCTIONS(X)                                                    \
  X(g_bus_get_sync)                                                                \
  X(g_dbus_connection_call_sync)                                                   \
  X(g_dbus_connection_call_with_unix_fd_list_sync) X(g_dbus_connection_is_closed)  \
      X(g_dbus_connection_set_exit_on_close) X(g_dbus_connection_signal_subscribe) \
          X(g_dbus_connection_signal_unsubscribe) X(g_unix_fd_list_get) X(g_unix_fd_list_get_length)

#define OSTLER_PIPEWIRE_FUNCTIONS(X)                                                                      \
  X(pw_context_connect_fd)                                                                                \
  X(pw_context_destroy)                                                                                   \
  X(pw_context_new) X(pw_core_disconnect) X(pw_init) X(pw_log_set_level) X(pw_properties_new)             \
      X(pw_proxy_add_listener) X(pw_stream_add_listener) X(pw_stream_connect) X(pw_stream_dequeue_buffer) \
          X(pw_stream_destroy) X(pw_stream_disconnect) X(pw_stream_new) X(pw_stream_queue_buffer)         \
              X(pw_stream_update_params) X(pw_thread_loop_destroy) X(pw_thread_loop_get_loop)             \
                  X(pw_thread_loop_lock) X(pw_thread_loop_new) X(pw_thread_loop_start)                    \
                      X(pw_thread_loop_stop) X(pw_thread_loop_unlock)

#define OSTLER_LIBEI_FUNCTIONS(X)                                                                      \
  X(ei_configure_name)                                                                                 \
  X(ei_device_button_button)                                                                           \
  X(ei_device_frame) X(ei_device_get_region) X(ei_device_has_capability) X(ei_device_keyboard_key)     \
      X(ei_device_pointer_motion_absolute) X(ei_device_ref) X(ei_device_scroll_discrete)               \
          X(ei_device_start_emulating) X(ei_device_unref) X(ei_dispatch) X(ei_event_get_device)        \
              X(ei_event_get_seat) X(ei_event_get_type) X(ei_event_unref) X(ei_get_event) X(ei_get_fd) \
                  X(ei_log_set_handler) X(ei_new_sender) X(ei_region_contains) X(ei_region_get_height) \
                      X(ei_region_get_width) X(ei_region_get_x) X(ei_region_get_y)                     \
                          X(ei_seat_bind_capabilities) X(ei_set_user_data) X(ei_setup_backend_fd)      \
                              X(ei_unref)
