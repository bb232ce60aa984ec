#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>
#include <stdlib.h>

#include "backend/pointing_backend.h"
#include "driver/session.h"

namespace ostler {
namespace {

constexpr const char* unset = nullptr;

void set(const char* name, const char* value) {
  if (value == unset) {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}

TEST(DetectSessionKind, TakesTheFirstVariableThatTells) {
  unsetenv("XDG_RUNTIME_DIR");
  if (waylandSocketPresent()) GTEST_SKIP() << "this user's own Wayland session would be found";
  char directory[] = "/tmp/ostler-session-XXXXXX";
  ASSERT_NE(mkdtemp(directory), nullptr);
  const std::string empty = std::string(directory) + "/empty", wayland = std::string(directory) + "/wayland",
                    slashed = wayland + "/";
  std::filesystem::create_directory(empty);
  std::filesystem::create_directories(wayland + "/wayland-1");  // any kind of file counts
  struct {
    const char *sessionType, *waylandDisplay, *display, *runtimeDirectory, *kind;
  } const cases[] = {
      {"Wayland", unset, unset, unset, "wayland"},
      {"x11", "wayland-0", ":0", wayland.c_str(), "x11"},
      {"TTY ", unset, unset, unset, "tty "},
      {"", "no-such-socket", unset, unset, "wayland"},
      {unset, unset, unset, wayland.c_str(), "unknown"},
      {unset, "", "", wayland.c_str(), "unknown"},
      {unset, unset, ":0", unset, "x11"},
      {unset, unset, ":0", empty.c_str(), "x11"},
      {unset, unset, ":0", "", "x11"},
      {unset, "", ":0", unset, "x11"},
      {unset, unset, ":0", wayland.c_str(), "wayland"},
      {"", "", ":0", slashed.c_str(), "wayland"},
  };
  for (const auto& item : cases) {
    set("XDG_SESSION_TYPE", item.sessionType);
    set("WAYLAND_DISPLAY", item.waylandDisplay);
    set("DISPLAY", item.display);
    set("XDG_RUNTIME_DIR", item.runtimeDirectory);
    EXPECT_EQ(detectSessionKind(), item.kind) << &item - cases;
  }
  std::filesystem::remove_all(directory);
}

TEST(DragPath, StepsAboutTwentyPixelsAndEndsOnTheTarget) {
  const double huge = 1e300;
  const std::pair<double, int> cases[] = {{0, 5},     {99.9, 5}, {119.9, 5}, {120, 6},
                                          {1000, 50}, {-130, 6}, {huge, 5},  {std::nan(""), 5}};
  for (const auto& [distance, steps] : cases)
    EXPECT_EQ(DragPath(7, 3, 7 + distance, 3).steps(), steps) << distance;
  const DragPath path(10, 20, 43, 64);
  EXPECT_EQ(path.x(path.steps()), 43);
  EXPECT_EQ(path.y(path.steps()), 64);
  EXPECT_DOUBLE_EQ(path.x(1), 16.6);
}

}  // namespace
}  // namespace ostler
