#include "wayland/eis/extra_keys.h"

#include <algorithm>
#include <iterator>

#include <X11/keysym.h>
#include <linux/input-event-codes.h>

namespace ostler {
namespace {

struct NamedCode {
  std::uint64_t keysym;
  std::uint32_t code;
};
constexpr NamedCode codes[] = {
    {XK_Print, KEY_SYSRQ},
    {XK_Pause, KEY_PAUSE},
    {XK_Scroll_Lock, KEY_SCROLLLOCK},
    {XK_Menu, KEY_COMPOSE},
    {XK_KP_Add, KEY_KPPLUS},
    {XK_KP_Subtract, KEY_KPMINUS},
    {XK_KP_Divide, KEY_KPSLASH},
    {XK_KP_Multiply, KEY_KPASTERISK},
    {XK_KP_Decimal, KEY_KPDOT},
    {XK_KP_0, KEY_KP0},
    {XK_KP_1, KEY_KP1},
    {XK_KP_2, KEY_KP2},
    {XK_KP_3, KEY_KP3},
    {XK_KP_4, KEY_KP4},
    {XK_KP_5, KEY_KP5},
    {XK_KP_6, KEY_KP6},
    {XK_KP_7, KEY_KP7},
    {XK_KP_8, KEY_KP8},
    {XK_KP_9, KEY_KP9},
    {XK_ISO_Level3_Shift, KEY_RIGHTALT},
};

}  // namespace

std::optional<EvdevKey> findExtraKey(std::uint64_t keysym) {
  if (keysym >= XK_F13 && keysym <= XK_F24) {
    return EvdevKey{.code = static_cast<std::uint32_t>(KEY_F13 + keysym - XK_F13)};
  }
  const auto row = std::find_if(std::begin(codes), std::end(codes),
                                [=](const NamedCode& key) { return key.keysym == keysym; });
  return row != std::end(codes) ? std::optional(EvdevKey{.code = row->code}) : std::nullopt;
}

}  // namespace ostler
