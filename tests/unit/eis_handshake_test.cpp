#include "wayland/eis/eis_handshake.h"

#include <cstring>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostler {
namespace {

using State = EisHandshake::State;

template <typename T>
std::string bytesOf(T value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

std::string message(std::uint64_t object, std::uint32_t opcode, const std::string& arguments) {
  return bytesOf(object) + bytesOf(static_cast<std::uint32_t>(16 + arguments.size())) + bytesOf(opcode) +
         arguments;
}

// `length` is what the message says, the terminating zero included.
std::string interface(std::string name, std::uint32_t length) {
  name.resize((name.size() + 3) / 4 * 4);
  return message(0, 1, bytesOf(length) + name + bytesOf(std::uint32_t{1}));
}

constexpr std::uint64_t serverObject = 0xff00000000000000;
std::string connection(std::uint64_t object, std::uint32_t version) {
  return message(0, 2, bytesOf(std::uint32_t{9}) + bytesOf(object) + bytesOf(version));
}

TEST(EisHandshake, AcceptsOnlyMessagesThatCannotCrashLibei) {
  const std::string greeting = message(0, 0, bytesOf(std::uint32_t{1})),
                    connected = connection(serverObject, 3);
  const std::string device = interface(std::string("ei_device\0", 10), 10);
  const struct {
    const char* name;
    std::vector<std::string> reads;  // each is all that can be read then
    State state;
  } cases[] = {
      {"nothing yet", {""}, State::partial},
      {"half a header", {greeting.substr(0, 10)}, State::partial},
      {"half a greeting", {greeting.substr(0, 18)}, State::partial},
      {"greeting", {greeting}, State::greeting},
      {"greeting of version 0", {message(0, 0, bytesOf(std::uint32_t{0}))}, State::broken},
      {"greeting that is too long", {message(0, 0, bytesOf(std::uint64_t{1}))}, State::broken},
      {"another message before the greeting", {device}, State::broken},
      {"a second greeting", {greeting + greeting}, State::broken},
      {"length 0", {std::string(20, '\0')}, State::broken},
      {"length that no message has", {message(0, 0, std::string(1024, 'x'))}, State::broken},
      {"unknown opcode", {greeting, message(0, 3, "")}, State::broken},
      {"object that is neither side's", {greeting, message(7, 0, "")}, State::broken},
      {"interface", {greeting, device}, State::partial},
      {"half an interface", {greeting, device.substr(0, 30)}, State::partial},
      {"interface without a name", {greeting, interface(std::string(4, '\0'), 1)}, State::broken},
      {"name that is not terminated", {greeting, interface("ei_device", 9)}, State::broken},
      {"name longer than its message",
       {greeting, interface(std::string("ei_device\0", 10), 100)},
       State::broken},
      {"connection", {greeting, device + connected}, State::complete},
      {"all at once", {greeting + device + connected}, State::complete},
      {"connection of a client's object", {greeting, connection(5, 1)}, State::broken},
      {"connection of version 0", {greeting, connection(serverObject, 0)}, State::broken},
      {"libei has read the connection already", {greeting, message(serverObject, 1, "")}, State::complete},
      {"object of the connection before it",
       {greeting, device + message(serverObject, 1, "")},
       State::broken},
  };
  for (const auto& [name, reads, expected] : cases) {
    EisHandshake handshake;
    State state = State::partial;
    for (const std::string& bytes : reads) state = handshake.read(std::as_bytes(std::span(bytes)));
    EXPECT_EQ(state, expected) << name;
    EXPECT_EQ(handshake.connectionVersion(),
              state == State::complete && reads.back().ends_with(connected) ? 3U : 0U)
        << name;
  }
}

}  // namespace
}  // namespace ostler
