#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

// A private session bus on which a portal answers as a script says; see
// support/portal.py. The environment of the process leads to it.
class TestDesktop {
public:
  TestDesktop() {
    char name[] = "/tmp/ostler-desktop-XXXXXX";
    directory = mkdtemp(name);
    const std::string config = directory / "bus.conf";
    std::ofstream(config)
        << "<busconfig><type>session</type><listen>unix:path=" << directory.string()
        << "/bus</listen><servicedir>" << directory.string() << "</servicedir><policy context='default'>"
        << "<allow send_destination='*'/><allow receive_sender='*'/><allow own='*'/></policy></busconfig>";
    std::ofstream(directory / "org.freedesktop.portal.Desktop.service")
        << "[D-BUS Service]\nName=org.freedesktop.portal.Desktop\nExec=/usr/bin/python3 " PORTAL_SCRIPT " "
        << directory.string() << " " EIS_SERVER "\n";
    startBus(config);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (directory / "bus").string()).c_str(), 1);
    setScript("{}");
  }
  TestDesktop(const TestDesktop&) = delete;
  TestDesktop& operator=(const TestDesktop&) = delete;
  ~TestDesktop() {
    killBus();
    std::filesystem::remove_all(directory);
  }

  // With it the record begins anew.
  void setScript(const std::string& script) {
    std::filesystem::resize_file(create("record"), 0);
    std::ofstream(directory / "script.new") << script;
    std::filesystem::rename(directory / "script.new", directory / "script.json");
  }

  // What the portal and the EIS server wrote down, without the times.
  std::vector<std::string> record() const {
    std::vector<std::string> lines;
    std::ifstream file(directory / "record");
    for (std::string line; std::getline(file, line);) lines.push_back(line.substr(line.find(' ') + 1));
    return lines;
  }

  // The record, once the condition holds for it.
  template <typename Condition>
  std::vector<std::string> waitForRecord(Condition condition) const {
    std::vector<std::string> lines;
    for (int i = 0; i < 2000; ++i) {
      if (condition(lines = record())) return lines;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    throw std::runtime_error("the record did not come to what was waited for");
  }

  pid_t eisServer() const {
    pid_t pid = 0;
    std::ifstream(directory / "eis.pid") >> pid;
    return pid;
  }

  void killBus() {
    if (busPid <= 0) return;
    kill(busPid, SIGTERM);
    waitpid(std::exchange(busPid, 0), nullptr, 0);
  }

private:
  void startBus(const std::string& config) {
    int ready[2];
    if (pipe(ready) != 0) throw std::runtime_error("no pipe");
    busPid = fork();
    if (busPid == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);  // should the tests crash
      dup2(ready[1], STDOUT_FILENO);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
      execlp("dbus-daemon", "dbus-daemon", "--nofork", "--print-pid", ("--config-file=" + config).c_str(),
             nullptr);
      _exit(127);
    }
    close(ready[1]);
    char line[20];
    const bool up = read(ready[0], line, sizeof line) > 0;
    close(ready[0]);
    if (!up) throw std::runtime_error("the bus did not come up");
  }

  std::filesystem::path create(const char* name) {
    std::ofstream(directory / name, std::ios::app).flush();
    return directory / name;
  }

  std::filesystem::path directory;
  pid_t busPid = 0;
};
