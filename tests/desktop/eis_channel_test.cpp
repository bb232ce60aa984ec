#include "wayland/eis_channel.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

#include "desktop_test.h"
#include "wayland/portal_session.h"

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Lines = std::vector<std::string>;

class EisChannelTest : public DesktopTest {
protected:
  void SetUp() override {
    DesktopTest::SetUp();
    desktop->setScript("{}");
    session.emplace();
  }
  void TearDown() override {
    session.reset();
    DesktopTest::TearDown();
  }

  EisChannel connect(const std::string& step) const {
    desktop->setScript("{\"ConnectToEIS\": " + step + "}");
    return EisChannel(session->connection.get(), session->sessionHandle);
  }

  // What the server had written by the time that the client left.
  static Lines afterDisconnect() {
    return desktop->waitForRecord(
        [](const Lines& lines) { return !lines.empty() && lines.back() == "eis disconnect"; });
  }

  static void tapKeys(EisChannel& channel, int count) {
    ei_device* const keyboard = channel.eiKeyboard.get();
    for (int i = 0; i < count; ++i) {
      for (const bool pressed : {true, false}) {
        channel.send(
            keyboard, [&] { ei_device_keyboard_key(keyboard, 30, pressed); }, pressed);
      }
    }
  }

  static std::ptrdiff_t keyEvents(const Lines& lines, bool pressed) {
    return std::count(lines.begin(), lines.end(), pressed ? "eis 0 key 30 1" : "eis 0 key 30 0");
  }

  std::optional<PortalSession> session;
};

// The letters of the slots that are filled: pointer, button, scroll, keyboard.
std::string slots(const EisChannel& channel) {
  return std::string(channel.eiPointer ? "P" : "") + (channel.eiButton ? "B" : "") +
         (channel.eiScroll ? "S" : "") + (channel.eiKeyboard ? "K" : "");
}

TEST_F(EisChannelTest, fillsEachSlotWithTheFirstDeviceThatFits) {
  const struct {
    const char *devices, *slots, *started;
  } rows[] = {
      {R"(["pointer,button,scroll,keyboard"])", "PBSK", "0"},
      {R"(["keyboard", "scroll", "button", "pointer"])", "PBSK", "0123"},
      {R"(["keyboard!paused", "scroll,keyboard", "pointer,button"])", "PBSK", "12"},
      {R"(["pointer,button", "keyboard!late", "scroll!late"])", "PB", "0"},
  };
  for (const auto& row : rows) {
    const EisChannel channel = connect(std::string("{\"eis\": ") + row.devices + "}");
    EXPECT_EQ(slots(channel), row.slots) << row.devices;
    std::string started;
    desktop->waitForRecord([&](const Lines& lines) {
      started.clear();
      for (const std::string& line : lines) {
        if (line.ends_with(" start")) started += line.at(4);
      }
      return started.size() >= std::string(row.started).size();
    });
    EXPECT_EQ(started, row.started) << row.devices;
  }
}

TEST_F(EisChannelTest, sendsEachEventInAFrameOfItsOwn) {
  {
    EisChannel channel = connect(R"({"eis": ["scroll,keyboard", "pointer,button@0,0,800,600"]})");
    ei_device* const pointer = channel.eiPointer.get();
    channel.send(pointer, [&] { ei_device_pointer_motion_absolute(pointer, 10.5, 20); });
    channel.send(channel.eiButton.get(), [&] { ei_device_button_button(channel.eiButton.get(), 272, true); });
    channel.send(channel.eiScroll.get(),
                 [&] { ei_device_scroll_discrete(channel.eiScroll.get(), 120, -240); });
    tapKeys(channel, 1);
  }
  EXPECT_EQ(
      afterDisconnect(),
      (Lines{"RemoteDesktop.ConnectToEIS ('/session/1', {})", "eis connect ostler-client",
             "eis bind 2 4 16 32", "eis 0 start", "eis 1 start", "eis 1 motion 10.5 20", "eis 1 button 272 1",
             "eis 0 scroll 120 -240", "eis 0 key 30 1", "eis 0 key 30 0", "eis disconnect"}));
}

// None of these may crash, then or later, nor keep a descriptor.
TEST_F(EisChannelTest, doesWithoutAServerThatFails) {
  const auto sends = [](const std::string& bytes, const char* close) {
    return R"({"eis": {"bytes": ")" + bytes + R"(", "close": )" + close + "}}";
  };
  // The message with which a server begins the handshake.
  const std::string greeting = "0000000000000000140000000000000001000000";
  const struct {
    std::string step;
    seconds atLeast, atMost;
  } rows[] = {
      {R"({"error": ["org.test.No", "no"]})", seconds(0), seconds(2)},
      {R"~({"reply": "(handle 0,)"})~", seconds(0), seconds(2)},
      {sends("", "true"), seconds(0), seconds(2)},
      {sends(greeting, "true"), seconds(0), seconds(2)},
      {sends(std::string(64, '0'), "false"), seconds(0), seconds(2)},
      {sends(std::string(64, 'f'), "false"), seconds(0), seconds(2)},
      {sends(greeting + greeting, "false"), seconds(0), seconds(2)},
      {sends(greeting + "0000000000000000200000000100000000000000000000000000000000000000", "false"),
       seconds(0), seconds(2)},
      {sends(greeting.substr(0, 20), "false"), seconds(4), seconds(7)},
      {sends("", "false"), seconds(4), seconds(7)},
  };
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  for (const auto& row : rows) {
    const Clock::time_point begin = Clock::now();
    const EisChannel channel = connect(row.step);
    EXPECT_GE(Clock::now() - begin, row.atLeast) << row.step;
    EXPECT_LT(Clock::now() - begin, row.atMost) << row.step;
    EXPECT_EQ(channel.eiContext, nullptr) << row.step;
    EXPECT_EQ(slots(channel), "") << row.step;
    EXPECT_TRUE(comesTo(descriptors, "/proc/self/fd")) << row.step;
  }
}

TEST_F(EisChannelTest, waitsFiveSecondsForDevices) {
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(slots(connect(R"({"eis": ["keyboard"]})")), "K");
  EXPECT_GE(Clock::now() - begin, milliseconds(4999));
}

TEST_F(EisChannelTest, closesItsDescriptorOnce) {
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(slots(connect("{}")), "PBSK");
    EXPECT_TRUE(comesTo(descriptors, "/proc/self/fd"));
  }
}

TEST_F(EisChannelTest, waitsForACompositorThatStops) {
  EisChannel channel = connect("{}");
  const pid_t server = desktop->eisServer();
  kill(server, SIGSTOP);
  std::thread resume([server] {
    std::this_thread::sleep_for(seconds(2));
    kill(server, SIGCONT);
  });
  const Clock::time_point begin = Clock::now();
  tapKeys(channel, 300);
  EXPECT_GE(Clock::now() - begin, seconds(1));
  resume.join();
  // Nothing may be left in the client: it does not come back to send it.
  const Lines lines = desktop->waitForRecord([](const Lines& all) { return keyEvents(all, false) >= 300; });
  EXPECT_EQ(keyEvents(lines, true), 300);
  EXPECT_EQ(keyEvents(lines, false), 300);
}

TEST_F(EisChannelTest, isHeldUpOnceByACompositorThatStaysAway) {
  EisChannel channel = connect("{}");
  const pid_t server = desktop->eisServer();
  kill(server, SIGSTOP);
  const Clock::time_point begin = Clock::now();
  tapKeys(channel, 500);
  EXPECT_LT(Clock::now() - begin, seconds(20));
  // When it comes back no key is down, and the next ones are typed. The releases
  // of presses that were dropped come last.
  kill(server, SIGCONT);
  const std::ptrdiff_t typed = keyEvents(
      desktop->waitForRecord([](const Lines& all) { return keyEvents(all, false) > keyEvents(all, true); }),
      true);
  EXPECT_GT(typed, 0);
  EXPECT_LT(typed, 500);
  tapKeys(channel, 10);
  desktop->waitForRecord([&](const Lines& all) { return keyEvents(all, true) == typed + 10; });
  kill(server, SIGKILL);
  tapKeys(channel, 1000);
}

TEST_F(EisChannelTest, carriesManyEvents) {
  {
    EisChannel channel = connect("{}");
    tapKeys(channel, 20000);
  }
  EXPECT_EQ(keyEvents(afterDisconnect(), true), 20000);
}

}  // namespace
}  // namespace ostler
