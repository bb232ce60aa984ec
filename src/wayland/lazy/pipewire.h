#pragma once

#include <pipewire/pipewire.h>

#include "wayland/lazy/declare.h"

// The functions of PipeWire that are called.
// clang-format off
#define OSTLER_PIPEWIRE_FUNCTIONS(apply) \
  apply(pw_context_connect_fd) \
  apply(pw_context_destroy) \
  apply(pw_context_new) \
  apply(pw_core_disconnect) \
  apply(pw_init) \
  apply(pw_log_set_level) \
  apply(pw_properties_new) \
  apply(pw_proxy_add_listener) \
  apply(pw_stream_add_listener) \
  apply(pw_stream_connect) \
  apply(pw_stream_dequeue_buffer) \
  apply(pw_stream_destroy) \
  apply(pw_stream_disconnect) \
  apply(pw_stream_new) \
  apply(pw_stream_queue_buffer) \
  apply(pw_stream_set_active) \
  apply(pw_stream_update_params) \
  apply(pw_thread_loop_destroy) \
  apply(pw_thread_loop_get_loop) \
  apply(pw_thread_loop_lock) \
  apply(pw_thread_loop_new) \
  apply(pw_thread_loop_start) \
  apply(pw_thread_loop_stop) \
  apply(pw_thread_loop_unlock)
// clang-format on

namespace ostler {

OSTLER_PIPEWIRE_FUNCTIONS(OSTLER_DECLARE_LAZY)

}  // namespace ostler
