#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>
#include <stdlib.h>

#include "backend/pointing_backend.h"
#include "driver/session.h"

namespace ostler {
namespace {

void set(const char* name, const char* value) { value != nullptr ? setenv(name, value, 1) : unsetenv(name); }

TEST(DetectSessionKind, UsesTheFirstVariableThatDecides) {
  unsetenv("XDG_RUNTIME_DIR");
  if (waylandSocketPresent()) GTEST_SKIP() << "this user's own Wayland session would be found";
  char directory[] = "/tmp/ostler-session-XXXXXX";
  ASSERT_NE(mkdtemp(directory), nullptr);
  std::filesystem::create_directory(std::string(directory) + "/wayland-1");  // any kind of file counts
  constexpr const char* unset = nullptr;
  const struct {
    const char *name, *kind, *sessionType, *waylandDisplay, *display, *runtimeDirectory;
  } cases[] = {
      {"type in capitals", "wayland", "Wayland", unset, unset, unset},
      {"type takes precedence over everything else", "x11", "x11", "wayland-0", ":0", directory},
      {"unknown type", "tty ", "TTY ", unset, unset, unset},
      {"empty type, WAYLAND_DISPLAY without a socket", "wayland", "", "no-such-socket", unset, unset},
      {"socket alone", "unknown", unset, unset, unset, directory},
      {"socket and empty names", "unknown", unset, "", "", directory},
      {"DISPLAY alone", "x11", unset, unset, ":0", unset},
      {"DISPLAY, directory without a socket", "x11", unset, unset, ":0", "/"},
      {"DISPLAY, empty directory name", "x11", unset, "", ":0", ""},
      {"DISPLAY, socket", "wayland", unset, unset, ":0", directory},
  };
  for (const auto& row : cases) {
    set("XDG_SESSION_TYPE", row.sessionType);
    set("WAYLAND_DISPLAY", row.waylandDisplay);
    set("DISPLAY", row.display);
    set("XDG_RUNTIME_DIR", row.runtimeDirectory);
    EXPECT_EQ(detectSessionKind(), row.kind) << row.name;
  }
  std::filesystem::remove_all(directory);
}

TEST(DragPath, HasAStepForEachTwentyPixelsAndAtLeastFive) {
  for (const auto& [distance, steps] : {std::pair{0.0, 5}, {119.9, 5}, {-120.0, 6}, {1e300, 5}, {NAN, 5}}) {
    EXPECT_EQ(DragPath(7, 3, 7 + distance, 3).steps(), steps) << "distance " << distance;
  }
}

}  // namespace
}  // namespace ostler
