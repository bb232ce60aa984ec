#include "wayland/portal_session.h"

#include <atomic>
#include <thread>

#include "desktop_test.h"
#include "wayland/portal_call.h"

namespace ostler {
namespace {

using Lines = std::vector<std::string>;

class PortalSessionTest : public DesktopTest {
protected:
  // Opens and closes a session; what it failed with, or nothing.
  static std::string open(const std::string& script) {
    desktop->setScript(script);
    return failureOf([] { PortalSession session; });
  }
};

TEST_F(PortalSessionTest, asksInThisOrderAndClosesTheSession) {
  desktop->setScript("{}");
  {
    const PortalSession session;
    EXPECT_EQ(session.sessionHandle, "/session/1");
    EXPECT_EQ(session.grantedDevices, 3U);
    EXPECT_EQ(session.nodeId, 42U);
    EXPECT_EQ(session.logicalSize, (Size{1280, 720}));
    portalInputCall(session.connection.get(), "NotifyKeyboardKeysym",
                    g_variant_new("(oa{sv}iu)", session.sessionHandle.c_str(), nullptr, 0x41, 1));
  }
  EXPECT_EQ(
      desktop->record(),
      (Lines{"Properties.Get ('org.freedesktop.portal.ScreenCast', 'AvailableSourceTypes')",
             "Properties.Get ('org.freedesktop.portal.ScreenCast', 'AvailableCursorModes')",
             "RemoteDesktop.CreateSession ({'handle_token': <'#1'>, 'session_handle_token': <'#2'>},)",
             "RemoteDesktop.SelectDevices ('/session/1', {'handle_token': <'#3'>, 'types': <uint32 3>})",
             "ScreenCast.SelectSources ('/session/1', {'handle_token': <'#4'>, 'types': <uint32 1>, "
             "'multiple': <false>, 'cursor_mode': <uint32 4>})",
             "RemoteDesktop.Start ('/session/1', '', {'handle_token': <'#5'>})",
             "RemoteDesktop.NotifyKeyboardKeysym ('/session/1', {}, 65, 1)", "Session.Close /session/1"}));
}

TEST_F(PortalSessionTest, picksOneSourceTypeAndTheBestCursorMode) {
  const struct {
    int sources, cursors, type, mode;
  } rows[] = {{3, 7, 1, 4}, {1, 4, 1, 4}, {2, 3, 2, 2}, {6, 2, 2, 2}, {7, 1, 1, 1}, {1, 0, 1, 1}};
  for (const auto& row : rows) {
    const auto property = [](int value) {
      return "{\"reply\": \"(<uint32 " + std::to_string(value) + ">,)\"}";
    };
    EXPECT_EQ(open("{\"AvailableSourceTypes\": " + property(row.sources) +
                   ", \"AvailableCursorModes\": " + property(row.cursors) + "}"),
              "");
    EXPECT_EQ(desktop->record().at(4),
              "ScreenCast.SelectSources ('/session/1', {'handle_token': <'#4'>, "
              "'types': <uint32 " +
                  std::to_string(row.type) + ">, 'multiple': <false>, 'cursor_mode': <uint32 " +
                  std::to_string(row.mode) + ">})");
  }
}

// The last line of the record tells whether a session was left open.
TEST_F(PortalSessionTest, failsWithTheseWords) {
  const std::string denied = "The user denied the Wayland portal request.";
  const std::string failed = "The Wayland portal request failed.";
  const std::string noHandle = "Missing portal response field: session_handle";
  const std::string noStreams = "Wayland portal did not return any ScreenCast streams.";
  const std::string noSource = "Wayland ScreenCast portal does not expose a monitor or window source.";
  const std::string property = "Unable to read portal property org.freedesktop.portal.ScreenCast.";
  const std::string call = "Portal call failed for org.freedesktop.portal.";
  const std::string firstLine =
      "Properties.Get ('org.freedesktop.portal.ScreenCast', 'AvailableSourceTypes')";
  const std::string create =
      "RemoteDesktop.CreateSession ({'handle_token': <'#1'>, 'session_handle_token': <'#2'>},)";
  const std::string close = "Session.Close /session/1";
  const struct {
    const char* script;
    std::string failure, lastLine;
  } rows[] = {
      {R"~({"AvailableSourceTypes": {"reply": "(<uint32 4>,)"}})~", noSource, firstLine},
      {R"~({"AvailableSourceTypes": {"reply": "(<'7'>,)"}})~",
       property + "AvailableSourceTypes: unknown error", firstLine},
      {R"~({"AvailableSourceTypes": {"error": ["org.test.No", "no such thing"]}})~",
       property + "AvailableSourceTypes: GDBus.Error:org.test.No: no such thing", firstLine},
      {R"~({"CreateSession": {"response": "(uint32 1, @a{sv} {})"}})~", denied, create},
      {R"~({"CreateSession": {"response": "(uint32 0, @a{sv} {})"}})~", noHandle, create},
      {R"~({"CreateSession": {"response": "(uint32 0, {'session_handle': <''>})"}})~", noHandle, create},
      {R"~({"CreateSession": {"response": "(uint32 0, {'session_handle': <uint32 1>})"}})~", noHandle,
       create},
      {R"~({"CreateSession": {"response": "(uint32 0, {'session_handle': <'no path'>})"}})~", noHandle,
       create},
      {R"~({"CreateSession": {"response": "(uint32 0,)"}})~", failed, create},
      {R"~({"CreateSession": {"reply": "('not a path',)"}})~",
       call + "RemoteDesktop.CreateSession: Method “CreateSession” returned type “(s)”, but expected “(o)”",
       create},
      {R"~({"CreateSession": {"when": "crash"}})~",
       call +
           "RemoteDesktop.CreateSession: GDBus.Error:org.freedesktop.DBus.Error.NoReply: Message recipient "
           "disconnected from message bus without replying",
       create},
      {R"~({"SelectDevices": {"error": ["org.test.No", "not today"]}})~",
       call + "RemoteDesktop.SelectDevices: GDBus.Error:org.test.No: not today", close},
      {R"~({"SelectSources": {"response": "(uint32 2, {'streams': <'none'>})"}})~", failed, close},
      {R"~({"Start": {"response": "(uint32 1, @a{sv} {})"}})~", denied, close},
      {R"~({"Start": {"response": "(uint32 77, @a{sv} {})"}})~", failed, close},
      {R"~({"Start": {"response": "(uint32 0, @a{sv} {})"}})~", noStreams, close},
      {R"~({"Start": {"response": "(uint32 0, {'streams': <@a(ua{sv}) []>})"}})~", noStreams, close},
      {R"~({"Start": {"response": "(uint32 0, {'streams': <'none'>})"}})~", noStreams, close},
      {R"~({"Start": {"response": "(uint32 0, {'streams': <[(uint32 0, @a{sv} {})]>})"}})~",
       "Wayland portal returned an invalid PipeWire stream node id.", close},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(open(row.script), row.failure) << row.script;
    EXPECT_EQ(desktop->record().back(), row.lastLine) << row.script;
  }
}

TEST_F(PortalSessionTest, takesTheFirstStreamAndWhatItTells) {
  desktop->setScript(R"~({"Start": {"response":
    "(uint32 0, {'streams': <[(uint32 7, @a{sv} {}), (8, {'size': <(1, 1)>})]>})"}})~");
  const PortalSession session;
  EXPECT_EQ(session.nodeId, 7U);
  EXPECT_EQ(session.logicalSize, std::nullopt);
  EXPECT_EQ(session.grantedDevices, 0U);
}

TEST_F(PortalSessionTest, losesNoAnswer) {
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(open(R"~({"CreateSession": {"when": "before"}, "SelectDevices": {"path": "/elsewhere"},
                        "SelectSources": {"path": "/elsewhere", "when": "before"}, "Start": {"delay": 1}})~"),
              "");
  }
}

TEST_F(PortalSessionTest, endsWithThePortal) {
  EXPECT_EQ(open(R"~({"Start": {"when": "exit"}})~"), "The Wayland portal request failed.");
}

// A host's own sources run while the person thinks, and nothing stays behind.
TEST_F(PortalSessionTest, leavesTheMainContextToItsOtherUsers) {
  int foreignCalls = 0;
  GSource* const foreign = g_timeout_source_new(10);
  const auto count = [](gpointer calls) -> gboolean {
    ++*static_cast<int*>(calls);
    // A main loop of somebody's own, as a dialog would run it.
    GMainLoop* const nested = g_main_loop_new(nullptr, FALSE);
    g_timeout_add(
        1, [](gpointer loop) -> gboolean { return g_main_loop_quit(static_cast<GMainLoop*>(loop)), FALSE; },
        nested);
    g_main_loop_run(nested);
    g_main_loop_unref(nested);
    return G_SOURCE_CONTINUE;
  };
  g_source_set_callback(foreign, count, &foreignCalls, nullptr);
  g_source_attach(foreign, nullptr);
  EXPECT_EQ(open(R"~({"Start": {"delay": 300}})~"), "");
  EXPECT_GE(foreignCalls, 10);
  g_source_destroy(foreign);
  g_source_unref(foreign);
  EXPECT_FALSE(g_main_context_pending(nullptr));
}

// The handlers must not be called over there.
TEST_F(PortalSessionTest, worksBesideAThreadThatRunsTheMainContext) {
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  std::thread runner([loop] { g_main_loop_run(loop); });
  while (!g_main_loop_is_running(loop)) std::this_thread::yield();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(open("{}"), "");
  g_main_loop_quit(loop);
  runner.join();
  g_main_loop_unref(loop);
}

TEST_F(PortalSessionTest, leavesNothingBehindWhenRefused) {
  const std::string refusal = R"~({"Start": {"response": "(uint32 1, @a{sv} {})"}})~";
  const std::ptrdiff_t descriptors = entriesOf("/proc/self/fd");
  open(refusal);  // GLib's threads stay once started
  ASSERT_TRUE(comesTo(descriptors, "/proc/self/fd"));
  const std::ptrdiff_t threads = entriesOf("/proc/self/task");
  desktop->setScript(refusal);
  for (int i = 0; i < 50; ++i) EXPECT_THROW(PortalSession(), std::runtime_error);
  EXPECT_TRUE(comesTo(descriptors, "/proc/self/fd"));
  EXPECT_EQ(entriesOf("/proc/self/task"), threads);
  EXPECT_FALSE(g_main_context_pending(nullptr));
  const Lines record = desktop->record();
  for (int i = 1; i <= 50; ++i) {
    EXPECT_EQ(std::count(record.begin(), record.end(), "Session.Close /session/" + std::to_string(i)), 1);
  }
}

TEST_F(PortalSessionTest, tellsWhyThereIsNoPipeWireRemote) {
  const struct {
    const char *step, *failure;
  } rows[] = {
      {R"~({"error": ["org.test.No", "no"]})~",
       "Failed to open the PipeWire remote from the Wayland portal: GDBus.Error:org.test.No: no"},
      {R"~({"reply": "(handle 0,)"})~",
       "Failed to retrieve the PipeWire file descriptor from the Wayland portal: unknown error"},
  };
  for (const auto& row : rows) {
    desktop->setScript(std::string("{\"OpenPipeWireRemote\": ") + row.step + "}");
    const PortalSession session;
    EXPECT_EQ(failureOf([&] { session.openPipeWireRemote(); }), row.failure);
  }
}

TEST_F(PortalSessionTest, reportsARefusedInputCall) {
  desktop->setScript(
      R"~({"NotifyPointerButton": [{}, {"error": ["org.freedesktop.DBus.Error.Failed", "no"]}]})~");
  const PortalSession session;
  const auto press = [&] {
    portalInputCall(session.connection.get(), "NotifyPointerButton",
                    g_variant_new("(oa{sv}iu)", session.sessionHandle.c_str(), nullptr, 272, 1));
  };
  EXPECT_EQ(failureOf(press), "");
  EXPECT_EQ(failureOf(press),
            "Portal input call failed for org.freedesktop.portal.RemoteDesktop."
            "NotifyPointerButton: GDBus.Error:org.freedesktop.DBus.Error.Failed: no");
}

// A bus of its own, which dies.
TEST(SessionBus, cannotKillOrHoldTheHost) {
  TestDesktop desktop;
  desktop.setScript(R"~({"Start": {"when": "never"}})~");
  // Called by the wait itself, so the host is in it.
  const auto killInStart = [](gpointer data) -> gboolean {
    TestDesktop& shared = *static_cast<TestDesktop*>(data);
    if (!shared.record().back().starts_with("RemoteDesktop.Start")) return G_SOURCE_CONTINUE;
    shared.killBus();
    return G_SOURCE_REMOVE;
  };
  g_timeout_add(5, killInStart, &desktop);
  EXPECT_EQ(failureOf([] { PortalSession session; }), "The Wayland portal request failed.");
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  EXPECT_EQ(failureOf([] { PortalSession session; }).substr(0, 41),
            "Unable to connect to the session D-Bus: C");
}

TEST(Tokens, arePartsOfAnObjectPathAndFresh) {
  const std::string first = newPortalToken(), second = newPortalToken();
  EXPECT_NE(first, second);
  EXPECT_EQ(first.size(), 43U);
  EXPECT_TRUE(g_variant_is_object_path(("/" + first).c_str())) << first;
  EXPECT_TRUE(first.starts_with("ostler_"));
}

TEST(Permissions, areTestedBitByBit) {
  EXPECT_EQ(failureOf([] { requirePortalDevice(3, 2, "pointer motion"); }), "");
  EXPECT_EQ(failureOf([] { requirePortalDevice(1, 1, "keyboard keysym"); }), "");
  EXPECT_EQ(failureOf([] { requirePortalDevice(1, 2, "pointer axis"); }),
            "Wayland portal session does not have permission for pointer axis.");
}

}  // namespace
}  // namespace ostler
