// A person at the keyboard, as far as the X server can tell: another client
// that presses Escape through XTEST and can take the key for itself. It answers
// each line of its input, words after one another, with one line.
//   tap MODIFIER...   holds the modifiers, taps Escape; the time of the press
//   hold MS           keeps Escape down that long, so that it repeats; done
//   grab, ungrab      Escape, as the watcher does it: done, refused
//   seize, yield      the whole keyboard
//   lose, find        unmaps the key Escape, and puts it back
// Times are CLOCK_MONOTONIC in nanoseconds, as process.hrtime.bigint() gives.

#include <cstdio>
#include <ctime>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <unistd.h>

namespace {

bool refused = false;

int onXError(Display*, XErrorEvent*) {
  refused = true;
  return 0;
}

KeyCode modifierNamed(Display* display, const std::string& name) {
  if (name == "shift") return XKeysymToKeycode(display, XK_Shift_L);
  if (name == "ctrl") return XKeysymToKeycode(display, XK_Control_L);
  return XKeysymToKeycode(display, XK_Alt_L);
}

void answerTime() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  std::cout << now.tv_sec * 1000000000L + now.tv_nsec << std::endl;
}

void obey(Display* display, std::istringstream& words) {
  static const KeyCode escape = XKeysymToKeycode(display, XK_Escape);
  const Window root = DefaultRootWindow(display);
  std::string word;
  words >> word;
  if (word == "tap") {
    std::vector<KeyCode> modifiers;
    while (words >> word) modifiers.push_back(modifierNamed(display, word));
    for (const KeyCode keycode : modifiers) XTestFakeKeyEvent(display, keycode, True, 0);
    XSync(display, False);
    answerTime();
    XTestFakeKeyEvent(display, escape, True, 0);
    XTestFakeKeyEvent(display, escape, False, 0);
    for (const KeyCode keycode : modifiers) XTestFakeKeyEvent(display, keycode, False, 0);
    XSync(display, False);
  } else if (word == "hold") {
    unsigned milliseconds = 0;
    words >> milliseconds;
    XTestFakeKeyEvent(display, escape, True, 0);
    XFlush(display);
    usleep(milliseconds * 1000);
    XTestFakeKeyEvent(display, escape, False, 0);
    XSync(display, False);
    std::cout << "done" << std::endl;
  } else {
    refused = false;
    if (word == "grab") XGrabKey(display, escape, AnyModifier, root, True, GrabModeAsync, GrabModeAsync);
    if (word == "ungrab") XUngrabKey(display, escape, AnyModifier, root);
    if (word == "seize") {
      refused = XGrabKeyboard(display, root, False, GrabModeAsync, GrabModeAsync, CurrentTime) != GrabSuccess;
    }
    if (word == "yield") XUngrabKeyboard(display, CurrentTime);
    KeySym symbol = word == "find" ? XK_Escape : NoSymbol;
    if (word == "lose" || word == "find") XChangeKeyboardMapping(display, escape, 1, &symbol, 1);
    XSync(display, True);
    std::cout << (refused ? "refused" : "done") << std::endl;
  }
}

}  // namespace

int main() {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) return 1;
  XSetErrorHandler(onXError);
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    obey(display, words);
  }
  XCloseDisplay(display);
  return 0;
}
