// The stream against a real PipeWire daemon, with a source that is scripted
// (support/pipewire_source.cpp).

#include "wayland/capture_stream.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spa/param/video/raw.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

namespace ostler {
namespace {

using namespace std::chrono_literals;

class PipeWireSource {
public:
  explicit PipeWireSource(const char* format = "BGRx", const char* size = "64x48") {
    char name[] = "/tmp/ostler-pipewire-XXXXXX";
    directory = mkdtemp(name);
    int toSource[2], fromSource[2];
    if (pipe2(toSource, O_CLOEXEC) != 0 || pipe2(fromSource, O_CLOEXEC) != 0) abort();
    pid = fork();
    if (pid == 0) {
      dup2(toSource[0], 0);
      dup2(fromSource[1], 1);
      execl(OSTLER_PIPEWIRE_SOURCE, OSTLER_PIPEWIRE_SOURCE, directory.c_str(), format, size, nullptr);
      _exit(1);
    }
    close(toSource[0]);
    close(fromSource[1]);
    commands = fdopen(toSource[1], "w");
    answers = fdopen(fromSource[0], "r");
    unsigned node = 0;
    if (std::sscanf(answer().c_str(), "ready %u", &node) == 1) nodeId = node;
  }
  PipeWireSource(const PipeWireSource&) = delete;
  PipeWireSource& operator=(const PipeWireSource&) = delete;
  ~PipeWireSource() {
    fclose(commands);
    waitpid(pid, nullptr, 0);
    fclose(answers);
    std::filesystem::remove_all(directory);
  }

  void command(const std::string& line) {
    fprintf(commands, "%s\n", line.c_str());
    fflush(commands);
    EXPECT_EQ(answer(), "ok") << line;
  }

  FileDescriptor connect() const {
    FileDescriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s/pipewire-0", directory.c_str());
    EXPECT_EQ(::connect(descriptor.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return descriptor;
  }

  std::uint32_t nodeId = 0;

private:
  std::string answer() {
    char line[256] = "";
    if (fgets(line, sizeof line, answers) == nullptr) return "";
    std::string text(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
  }

  std::string directory;
  pid_t pid = -1;
  FILE* commands = nullptr;
  FILE* answers = nullptr;
};

// The picture that the source sends for a seed.
PixelBytes picture(const StreamFormat& format, int seed) {
  PixelBytes bytes;
  const bool blueFirst =
      format.videoFormat == SPA_VIDEO_FORMAT_BGRx || format.videoFormat == SPA_VIDEO_FORMAT_BGRA;
  for (int y = 0; y < format.height; ++y) {
    for (int x = 0; x < format.width; ++x) {
      for (const int value : {blueFirst ? seed : x, y, blueFirst ? x : seed, 0}) {
        bytes.push_back(static_cast<unsigned char>(value));
      }
    }
  }
  return bytes;
}

bool shows(const CaptureState& state, const StreamFormat& format, int seed) {
  const std::shared_ptr<const Frame> frame = state.latestFrame();
  return frame != nullptr && frame->format == format && frame->bytes == picture(format, seed);
}

bool becomesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

std::string failureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

std::string streamFailure(CaptureState& state) {
  return failureOf([&] { state.waitForFirstFrame(0ms); });
}

std::size_t entries(const char* directory) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator()));
}

class CaptureStreamTest : public testing::Test {
protected:
  static void SetUpTestSuite() { initialisePipeWire(); }
};

// The first of all: PipeWire is more talkative before it has read a configuration.
TEST_F(CaptureStreamTest, RefusedConnectionsReleaseEverythingInSilence) {
  CaptureState refused, failed;
  std::size_t descriptors = 0, threads = 0;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (int round = 0; round < 2; ++round) {
    // As where the client's configuration is not installed.
    setenv("PIPEWIRE_CONFIG_DIR", "/nonexistent", 1);
    EXPECT_EQ(failureOf([&] { CaptureStream(FileDescriptor(open("/dev/null", O_RDWR)), 1, refused); }),
              "Failed to create the PipeWire context.");
    unsetenv("PIPEWIRE_CONFIG_DIR");
    EXPECT_EQ(failureOf([&] { CaptureStream(FileDescriptor(), 1, refused); }),
              "Failed to duplicate the PipeWire file descriptor: Bad file descriptor");
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    close(ends[0]);
    EXPECT_EQ(failureOf([&] {
                CaptureStream stream(FileDescriptor(ends[1]), 1, failed);
                failed.waitForFirstFrame(10s);
              }),
              "Wayland ScreenCast stream failed: connection error");
    // What the first thread and the first context bring with them stays.
    if (round == 0) descriptors = entries("/proc/self/fd"), threads = entries("/proc/self/task");
  }
  EXPECT_EQ(entries("/proc/self/fd"), descriptors);
  EXPECT_EQ(entries("/proc/self/task"), threads);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(CaptureStreamTest, KeepsTheLatestGoodFrameAndTheLastCursor) {
  PipeWireSource source;
  CaptureState state;
  CaptureStream stream(source.connect(), source.nodeId, state);
  source.command("frame 1 empty cursor 9 9");
  EXPECT_EQ(failureOf([&] { state.waitForFirstFrame(50ms); }),
            "Timed out waiting for the Wayland ScreenCast stream.");

  const StreamFormat format{SPA_VIDEO_FORMAT_BGRx, 64, 48};
  source.command("frame 2 cursor 5 6");
  state.waitForFirstFrame(10s);
  EXPECT_TRUE(shows(state, format, 2));
  EXPECT_EQ(state.cursorPosition(), (Point{5, 6}));

  const std::shared_ptr<const Frame> held = state.latestFrame();
  source.command("frame 3 corrupted cursor 7 7");
  source.command("frame 4");
  EXPECT_TRUE(becomesTrue([&] {
    EXPECT_FALSE(shows(state, format, 3));
    return shows(state, format, 4);
  }));
  state.setLastPointer({30, 30});
  EXPECT_EQ(state.cursorPosition(), (Point{5, 6}));
  EXPECT_EQ(held->bytes, picture(format, 2));
}

TEST_F(CaptureStreamTest, FollowsARenegotiationWithTheNextFrame) {
  PipeWireSource source("RGBx", "100x20");
  CaptureState state;
  EXPECT_EQ(failureOf([&] { state.display(); }), "Wayland display size is not available yet.");
  CaptureStream stream(source.connect(), source.nodeId, state);
  source.command("frame 1");
  state.waitForFirstFrame(10s);

  source.command("format BGRA 33x70");
  EXPECT_TRUE(becomesTrue([&] { return state.format() == StreamFormat{SPA_VIDEO_FORMAT_BGRA, 33, 70}; }));
  EXPECT_TRUE(shows(state, {SPA_VIDEO_FORMAT_RGBx, 100, 20}, 1));
  source.command("frame 2");
  EXPECT_TRUE(becomesTrue([&] { return shows(state, {SPA_VIDEO_FORMAT_BGRA, 33, 70}, 2); }));
  EXPECT_EQ(state.display(), (Size{100, 20}));
}

TEST_F(CaptureStreamTest, KeepsTheLogicalSizeThatThePortalGave) {
  PipeWireSource source;
  CaptureState state;
  state.setLogicalSize({32, 24});
  CaptureStream stream(source.connect(), source.nodeId, state);
  source.command("frame 1");
  state.waitForFirstFrame(10s);
  EXPECT_EQ(state.display(), (Size{32, 24}));
}

TEST_F(CaptureStreamTest, FailsForGoodWithTheLatestError) {
  PipeWireSource source;
  CaptureState state;
  CaptureStream stream(source.connect(), source.nodeId, state);
  source.command("frame 1");
  state.waitForFirstFrame(10s);
  for (const std::string text : {"the monitor is gone", "and so is the desk"}) {
    source.command("fail " + text);
    EXPECT_TRUE(becomesTrue([&] {
      return streamFailure(state) == "Wayland ScreenCast stream failed: " + text;
    })) << streamFailure(state);
  }
  EXPECT_EQ(state.display(), (Size{64, 48}));
}

TEST_F(CaptureStreamTest, EndsAWaitWhenTheDaemonDies) {
  PipeWireSource source;
  CaptureState state;
  CaptureStream stream(source.connect(), source.nodeId, state);
  std::string failure;
  std::thread waiting([&] { failure = failureOf([&] { state.waitForFirstFrame(10s); }); });
  source.command("kill");
  waiting.join();
  EXPECT_EQ(failure, "Wayland ScreenCast stream failed: connection error");
}

TEST_F(CaptureStreamTest, LeavesNothingBehind) {
  PipeWireSource source;
  source.command("frame 1");
  std::size_t descriptors = 0, threads = 0;
  for (int attempt = 0; attempt < 20; ++attempt) {
    {
      CaptureState state;
      CaptureStream stream(source.connect(), source.nodeId, state);
      // Every other stream goes while it is still being negotiated.
      if (attempt % 2 == 0) state.waitForFirstFrame(10s);
    }
    if (attempt == 0) descriptors = entries("/proc/self/fd"), threads = entries("/proc/self/task");
  }
  EXPECT_EQ(entries("/proc/self/fd"), descriptors);
  EXPECT_EQ(entries("/proc/self/task"), threads);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(CaptureStreamTest, FailsTheStreamWhenMemoryRunsOut) {
  // Beyond what malloc has in reserve.
  PipeWireSource source("BGRx", "4800x3600");
  CaptureState state;
  CaptureStream stream(source.connect(), source.nodeId, state);
  source.command("frame 1");
  state.waitForFirstFrame(10s);

  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  const bool failed = becomesTrue([&] {
    // Set anew each time: two frames may have been alive when the last was set.
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlimit tight{pages * static_cast<std::size_t>(getpagesize()) + (8 << 20), before.rlim_max};
    setrlimit(RLIMIT_AS, &tight);
    return !streamFailure(state).empty();
  });
  setrlimit(RLIMIT_AS, &before);
  EXPECT_TRUE(failed);
  EXPECT_EQ(streamFailure(state), "Wayland ScreenCast stream failed: out of memory");
}
#endif

}  // namespace
}  // namespace ostler
