#pragma once

#include <libei.h>

#include "wayland/lazy/declare.h"

// The functions of libei that are called.
// clang-format off
#define OSTLER_LIBEI_FUNCTIONS(apply) \
  apply(ei_configure_name) \
  apply(ei_device_button_button) \
  apply(ei_device_frame) \
  apply(ei_device_get_region) \
  apply(ei_device_has_capability) \
  apply(ei_device_keyboard_get_keymap) \
  apply(ei_device_keyboard_key) \
  apply(ei_device_pointer_motion_absolute) \
  apply(ei_device_ref) \
  apply(ei_device_scroll_discrete) \
  apply(ei_device_start_emulating) \
  apply(ei_device_unref) \
  apply(ei_dispatch) \
  apply(ei_event_get_device) \
  apply(ei_event_get_seat) \
  apply(ei_event_get_type) \
  apply(ei_event_keyboard_get_xkb_group) \
  apply(ei_event_keyboard_get_xkb_mods_depressed) \
  apply(ei_event_keyboard_get_xkb_mods_latched) \
  apply(ei_event_keyboard_get_xkb_mods_locked) \
  apply(ei_event_unref) \
  apply(ei_get_event) \
  apply(ei_get_fd) \
  apply(ei_keymap_get_fd) \
  apply(ei_keymap_get_size) \
  apply(ei_keymap_get_type) \
  apply(ei_log_set_handler) \
  apply(ei_new_sender) \
  apply(ei_region_get_height) \
  apply(ei_region_get_mapping_id) \
  apply(ei_region_get_width) \
  apply(ei_region_get_x) \
  apply(ei_region_get_y) \
  apply(ei_seat_bind_capabilities) \
  apply(ei_set_user_data) \
  apply(ei_setup_backend_fd) \
  apply(ei_unref)
// clang-format on

namespace ostler {

OSTLER_LIBEI_FUNCTIONS(OSTLER_DECLARE_LAZY)

// Round trips, which exist since libei 1.4: with an older one the pointers are null. Its headers
// lack them, so the types are declared here.
struct EiPing;
extern EiPing* (*newEiPing)(ei*);
extern void (*sendEiPing)(EiPing*);
extern EiPing* (*unrefEiPing)(EiPing*);
constexpr int eiEventPong = 90;

}  // namespace ostler
