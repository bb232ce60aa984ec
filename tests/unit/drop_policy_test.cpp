#include "wayland/eis/drop_policy.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace ostler {
namespace {

// Performs a script and returns what was sent. "full" and "empty" are the state of the socket,
// "next" begins an operation, "move N" goes to N,0, and "press N" and "release N" are for the key
// N.
std::string run(const std::string& script) {
  std::string sent;
  bool hasRoom = true;
  DropPolicy policy([&](std::chrono::milliseconds limit) {
    if (!hasRoom) sent += limit.count() == 0 ? "" : "wait, ";
    return hasRoom;
  });
  std::istringstream lines(script);
  for (std::string line; std::getline(lines >> std::ws, line, ',');) {
    std::istringstream words(line);
    std::string word;
    std::uint32_t number = 0;
    words >> word >> number;
    bool isAdmitted = false;
    if (word == "full" || word == "empty") hasRoom = word == "empty";
    if (word == "next") policy.beginOperation();
    if (word == "press") isAdmitted = policy.admitPress(number);
    if (word == "release") isAdmitted = policy.admitRelease(number);
    if (word == "move") isAdmitted = policy.admitMotion({static_cast<float>(number), 0});
    if (word == "scroll") isAdmitted = policy.admitScroll();
    if (word == "missed") {
      const auto missed = policy.takeDroppedMotion();
      line = missed ? "move " + std::to_string(static_cast<int>(missed->x)) : "";
      isAdmitted = missed.has_value();
    }
    if (isAdmitted) sent += line + ", ";
  }
  for (const std::uint32_t code : policy.held()) sent += "holds " + std::to_string(code) + ", ";
  return sent.empty() ? sent : sent.substr(0, sent.size() - 2);
}

TEST(DropPolicy, SendsOrDropsByTheRoomInTheSocket) {
  const struct {
    const char *name, *script, *sent;
  } cases[] = {
      {"room", "move 1, press 7, release 7, scroll", "move 1, press 7, release 7, scroll"},
      {"only the first event of a stall waits", "full, move 1, press 7, next, press 8, next, scroll", "wait"},
      {"room again, then another stall", "full, move 1, empty, next, move 2, full, move 3, next, scroll",
       "wait, move 2, wait"},
      {"the rest of an operation goes with its beginning", "full, move 1, empty, press 7, release 7, scroll",
       "wait"},
      {"a release is sent although there is no room", "press 7, full, release 7", "press 7, wait, release 7"},
      {"a release of something that was not pressed is sent", "release 7", "release 7"},
      {"a release goes with its press", "full, press 7, empty, next, release 7", "wait"},
      {"each dropped press takes one release with it",
       "full, press 7, press 7, empty, next, release 7, release 7, release 7", "wait, release 7"},
      {"a press that is sent revokes the dropped ones", "full, press 7, empty, next, press 7, release 7",
       "wait, press 7, release 7"},
      {"a dropped press of a held key does not keep its release",
       "press 7, full, press 7, empty, next, release 7", "press 7, wait, release 7"},
      {"a drag ends on its target", "press 7, full, move 1, move 2, missed, release 7, missed",
       "press 7, wait, move 2, release 7"},
      {"a motion that is sent replaces a dropped one", "full, move 1, empty, next, move 2, missed",
       "wait, move 2"},
      {"what is held", "press 7, press 8, release 7, full, press 9",
       "press 7, press 8, release 7, wait, holds 8"},
  };
  for (const auto& row : cases) EXPECT_EQ(run(row.script), row.sent) << row.name;
}

}  // namespace
}  // namespace ostler
