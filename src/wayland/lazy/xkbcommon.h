#pragma once

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
// clang-format on

namespace ostler {

OSTLER_XKBCOMMON_FUNCTIONS(OSTLER_DECLARE_LAZY)

}  // namespace ostler
