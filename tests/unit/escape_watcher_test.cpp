// The Escape watcher without a Node around it, for what Node cannot be made to
// do: Node-API's two functions and the start of threads are in our hands here.

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <dlfcn.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "driver/driver.h"
#include "driver/escape_flags.h"
#include "x11/xlib_handles.h"

// Xlib's macros, which gtest has names for.
#undef Bool
#undef None
#include <gtest/gtest.h>

namespace {

std::atomic<bool> refuseThreads{false};
std::atomic<napi_status> callAnswer{napi_ok};
std::atomic<int> callCount{0};
std::atomic<int> releaseCount{0};

}  // namespace

extern "C" {

napi_status napi_call_threadsafe_function(napi_threadsafe_function, void*,
                                          napi_threadsafe_function_call_mode) {
  ++callCount;
  return callAnswer;
}

napi_status napi_release_threadsafe_function(napi_threadsafe_function,
                                             napi_threadsafe_function_release_mode) {
  ++releaseCount;
  return napi_ok;
}

// For libstdc++ to find.
__attribute__((visibility("default"))) int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                                          void* (*start)(void*), void* argument) noexcept {
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return refuseThreads ? EAGAIN : create(thread, attributes, start, argument);
}

}  // extern "C"

namespace ostler {
namespace {

// An X server on a free display, which becomes this process's.
class XServer {
public:
  XServer() {
    int numberPipe[2];
    if (pipe(numberPipe) != 0) return;
    pid = fork();
    if (pid == 0) {
      const std::string number = std::to_string(numberPipe[1]);
      execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-noreset", "-nolisten", "tcp", nullptr);
      _exit(127);
    }
    close(numberPipe[1]);
    std::string display = ":";
    for (char digit; read(numberPipe[0], &digit, 1) == 1 && digit != '\n';) display += digit;
    close(numberPipe[0]);
    setenv("DISPLAY", display.c_str(), 1);
    setenv("XDG_SESSION_TYPE", "x11", 1);
  }
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;
  ~XServer() {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
  }

private:
  pid_t pid = -1;
};

class EscapeWatcher : public testing::Test {
protected:
  EscapeWatcher() : person(XOpenDisplay(nullptr)) {
    if (person != nullptr) escape = XKeysymToKeycode(person.get(), XK_Escape);
    callAnswer = napi_ok;
    callCount = 0;
    releaseCount = 0;
  }

  void SetUp() override { ASSERT_NE(person, nullptr); }

  // Presses Escape and waits until the watcher has handled it.
  void press() {
    const int callsBefore = callCount;
    escapePressed.exchange(false);
    XTestFakeKeyEvent(person.get(), escape, True, 0);
    XTestFakeKeyEvent(person.get(), escape, False, 0);
    XSync(person.get(), False);
    while (!escapePressed) std::this_thread::yield();
    while (callAnswer == napi_ok && callCount == callsBefore) std::this_thread::yield();
  }

  const XServer server;
  const DisplayConnection person;
  KeyCode escape = 0;
  const napi_threadsafe_function function = reinterpret_cast<napi_threadsafe_function>(this);
};

TEST_F(EscapeWatcher, AnswersFalseWhereNoThreadCanBeStarted) {
  refuseThreads = true;
  EXPECT_FALSE(driverLock(function));
  refuseThreads = false;
  driverUnlock();
  EXPECT_EQ(releaseCount, 0) << "it is the caller's";

  EXPECT_TRUE(driverLock(function));
  press();
  press();
  driverUnlock();
  driverUnlock();
  EXPECT_EQ(callCount, 2);
  EXPECT_EQ(releaseCount, 1);
}

TEST_F(EscapeWatcher, LeavesAFunctionAloneThatIsClosing) {
  ASSERT_TRUE(driverLock(function));
  callAnswer = napi_closing;
  press();
  press();
  press();
  driverUnlock();
  EXPECT_EQ(callCount, 1);
  EXPECT_EQ(releaseCount, 0);
}

int onError(Display*, XErrorEvent*) { return 0; }

TEST_F(EscapeWatcher, GivesTheProcessItsErrorHandlerBack) {
  const XErrorHandler found = XSetErrorHandler(onError);
  EXPECT_TRUE(driverLock(function));
  EXPECT_EQ(XSetErrorHandler(onError), onError);
  driverUnlock();

  XGrabKey(person.get(), escape, AnyModifier, DefaultRootWindow(person.get()), True, GrabModeAsync,
           GrabModeAsync);
  XSync(person.get(), False);
  EXPECT_FALSE(driverLock(function));
  EXPECT_EQ(XSetErrorHandler(found), onError);
}

}  // namespace
}  // namespace ostler
