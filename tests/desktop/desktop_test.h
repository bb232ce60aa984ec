#pragma once

#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "test_desktop.h"

// One desktop for all tests of a suite. None of them may write to stderr.
class DesktopTest : public testing::Test {
protected:
  static void SetUpTestSuite() { desktop = std::make_unique<TestDesktop>(); }
  static void TearDownTestSuite() { desktop.reset(); }
  void SetUp() override { testing::internal::CaptureStderr(); }
  void TearDown() override { EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); }

  static inline std::unique_ptr<TestDesktop> desktop;
};

template <typename Action>
std::string failureOf(Action action) {
  try {
    action();
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

inline std::ptrdiff_t entriesOf(const char* directory) {
  const std::filesystem::directory_iterator entries(directory);
  return std::distance(begin(entries), end(entries));
}

// Descriptors of a released D-Bus connection are closed by GLib's own thread.
inline bool comesTo(std::ptrdiff_t expected, const char* directory) {
  for (int i = 0; i < 1000 && entriesOf(directory) != expected; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return entriesOf(directory) == expected;
}
