#pragma once

#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon.h>

#include "wayland/lazy/declare.h"

// The functions of libxkbcommon that are called.
// clang-format off
#define OSTLER_XKBCOMMON_FUNCTIONS(apply) \
  apply(xkb_context_new) \
  apply(xkb_context_set_log_fn) \
  apply(xkb_context_unref) \
  apply(xkb_keymap_new_from_string) \
  apply(xkb_keymap_num_layouts) \
  apply(xkb_keymap_unref) \
  apply(xkb_keysym_to_utf32) \
  apply(xkb_state_key_get_one_sym) \
  apply(xkb_state_new) \
  apply(xkb_state_unref) \
  apply(xkb_state_update_key) \
  apply(xkb_state_update_mask)

#define OSTLER_XKBCOMMON_COMPOSE_FUNCTIONS(apply) \
  apply(xkb_compose_state_feed) \
  apply(xkb_compose_state_get_status) \
  apply(xkb_compose_state_get_utf8) \
  apply(xkb_compose_state_new) \
  apply(xkb_compose_state_reset) \
  apply(xkb_compose_state_unref) \
  apply(xkb_compose_table_new_from_locale) \
  apply(xkb_compose_table_unref)
// clang-format on

namespace ostler {

OSTLER_XKBCOMMON_FUNCTIONS(OSTLER_DECLARE_LAZY)
OSTLER_XKBCOMMON_COMPOSE_FUNCTIONS(OSTLER_DECLARE_LAZY)

}  // namespace ostler
