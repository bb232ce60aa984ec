#include "x11/character_keys.h"

#include <string_view>

#include <X11/XKBlib.h>
#include <X11/keysym.h>

#include "keys/typed_keysym.h"

namespace ostler {
namespace {

// The Cyrillic and Greek keysyms, in order from the first one. The others of that time are on few
// keyboards; where they are, a spare keycode types the character as well.
using namespace std::string_view_literals;
constexpr KeySym firstCyrillic = XK_Cyrillic_yu, firstGreek = XK_Greek_ALPHA;
constexpr auto cyrillic = U"юабцдефгхийклмнопярстужвьызшэщчъЮАБЦДЕФГХИЙКЛМНОПЯРСТУЖВЬЫЗШЭЩЧЪ"sv;
constexpr auto greek = U"ΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡΣ\0ΤΥΦΧΨΩ\0\0\0\0\0\0\0αβγδεζηθικλμνξοπρσςτυφχψω"sv;

KeySym unicodeForm(KeySym keysym) {
  const auto translate = [&](KeySym first, std::u32string_view characters) {
    return keysym >= first && keysym - first < characters.size() ? characters[keysym - first] : 0;
  };
  const char32_t character = keysym == XK_EuroSign ? U'€'
                             : keysym < firstGreek ? translate(firstCyrillic, cyrillic)
                                                   : translate(firstGreek, greek);
  return character != 0 ? unicodeKeysymBase | character : keysym;
}

}  // namespace

KeySym keysymOfCharacter(std::uint32_t character) {
  if (character == '\n') return XK_Return;
  if (character == '\t') return XK_Tab;
  return character <= 0xFF ? character : unicodeKeysymBase | character;
}

CharacterKeys::CharacterKeys(Display* display) {
  XkbStateRec state{};
  XkbGetState(display, XkbUseCoreKbd, &state);
  int minKeycode = 0, maxKeycode = 0;
  XDisplayKeycodes(display, &minKeycode, &maxKeycode);
  for (const bool shift : {false, true}) {
    const unsigned modifiers = XkbBuildCoreState(shift ? ShiftMask : 0U, state.group);
    for (int code = minKeycode; code <= maxKeycode; ++code) {
      const auto keycode = static_cast<KeyCode>(code);
      unsigned usedModifiers = 0;
      KeySym produced = NoSymbol;
      XkbLookupKeySym(display, keycode, modifiers, &usedModifiers, &produced);
      if (produced != NoSymbol) keys.emplace(unicodeForm(produced), CharacterKey{keycode, shift});
    }
  }
}

std::optional<CharacterKey> CharacterKeys::find(std::uint32_t character) const {
  auto key = keys.find(keysymOfCharacter(character));
  if (key == keys.end()) key = keys.find(unicodeKeysymBase | character);
  return key != keys.end() ? std::optional(key->second) : std::nullopt;
}

}  // namespace ostler
