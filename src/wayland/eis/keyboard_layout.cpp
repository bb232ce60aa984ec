#include "wayland/eis/keyboard_layout.h"

#include <algorithm>
#include <string>

#include <unistd.h>

namespace ostler {
namespace {

constexpr std::size_t largestKeymap = 16 << 20;

std::unique_ptr<const Keymap> readKeymap(ei_device* keyboard) {
  ei_keymap* const source = ei_device_keyboard_get_keymap(keyboard);
  if (source == nullptr || ei_keymap_get_type(source) != EI_KEYMAP_TYPE_XKB) return nullptr;
  std::string text(std::min(ei_keymap_get_size(source), largestKeymap), '\0');
  // Reading is safe where mapping is not: access beyond the end of a file that is shorter than
  // announced is fatal.
  const ssize_t size = pread(ei_keymap_get_fd(source), text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return Keymap::parse(text);
}

}  // namespace

void KeyboardLayout::update(ei_device* keyboard) {
  if (keyboard == keyboardRead.get()) return;
  keyboardRead.reset(ei_device_ref(keyboard));
  keymap = readKeymap(keyboard);
  askedGroup.reset();
}

std::size_t KeyboardLayout::activeGroup(std::optional<std::uint32_t> announcedGroup) {
  if (announcedGroup) return *announcedGroup;
  if (!askedGroup) askedGroup = keymap->groups() > 1 ? askGroup() : 0;
  return *askedGroup;
}

std::optional<EvdevKey> KeyboardLayout::find(std::uint64_t keysym, ei_device* keyboard,
                                             std::optional<std::uint32_t> announcedGroup) {
  update(keyboard);
  if (keymap == nullptr) return findUsKey(keysym);
  return keymap->find(keysym, activeGroup(announcedGroup));
}

std::optional<DeadKeySequence> KeyboardLayout::findSequence(std::uint64_t keysym, ei_device* keyboard,
                                                            std::optional<std::uint32_t> announcedGroup) {
  update(keyboard);
  if (keymap == nullptr) return std::nullopt;
  return keymap->findSequence(keysym, activeGroup(announcedGroup));
}

}  // namespace ostler
