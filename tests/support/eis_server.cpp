// A compositor's input socket that writes down what arrives.
//
//   eis_server SOCKET RECORD DEVICE...
//
// A DEVICE is "pointer,button,scroll,keyboard", in any choice, then "@x,y,w,h"
// for each region, then "!late" when it is announced only after another device
// has started. RECORD gets a line for each frame: the number of the device, the
// events. Prints a line when it listens; ends with its first client, or when
// its standard input does.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <libeis.h>
#include <poll.h>
#include <unistd.h>

namespace {

struct Release {
  void operator()(eis* context) const { eis_unref(context); }
  void operator()(eis_event* event) const { eis_event_unref(event); }
  void operator()(eis_device* device) const { eis_device_unref(device); }
};

struct Device {
  std::string description;
  std::unique_ptr<eis_device, Release> handle;
  std::string frame;

  bool has(const char* word) const { return description.find(word) != std::string::npos; }
};

std::vector<Device> devices;
int recordFile = -1;

template <typename... Values>
std::string format(const char* pattern, Values... values) {
  char text[200];
  std::snprintf(text, sizeof text, pattern, values...);
  return text;
}

void writeDown(const std::string& text) {
  const std::string line = "eis " + text + "\n";
  if (write(recordFile, line.data(), line.size()) < 0) std::abort();
}

void announce(eis_seat* seat, Device& device) {
  device.handle.reset(eis_seat_new_device(seat));
  eis_device* const handle = device.handle.get();
  eis_device_configure_name(handle, device.description.c_str());
  if (device.has("pointer")) eis_device_configure_capability(handle, EIS_DEVICE_CAP_POINTER_ABSOLUTE);
  if (device.has("button")) eis_device_configure_capability(handle, EIS_DEVICE_CAP_BUTTON);
  if (device.has("scroll")) eis_device_configure_capability(handle, EIS_DEVICE_CAP_SCROLL);
  if (device.has("keyboard")) eis_device_configure_capability(handle, EIS_DEVICE_CAP_KEYBOARD);
  for (std::size_t at = 0; (at = device.description.find('@', at)) != std::string::npos; ++at) {
    unsigned x = 0, y = 0, width = 0, height = 0;
    std::sscanf(device.description.c_str() + at, "@%u,%u,%u,%u", &x, &y, &width, &height);
    eis_region* const region = eis_device_new_region(handle);
    eis_region_set_offset(region, x, y);
    eis_region_set_size(region, width, height);
    eis_region_add(region);
    eis_region_unref(region);
  }
  eis_device_add(handle);
  eis_device_resume(handle);
}

void announceAll(eis_seat* seat, bool late) {
  for (Device& device : devices) {
    if (device.handle == nullptr && device.has("!late") == late) announce(seat, device);
  }
}

// False when the client has gone.
bool handle(eis_event* event) {
  eis_device* const source = eis_event_get_device(event);
  std::size_t number = 0;
  while (number < devices.size() && devices[number].handle.get() != source) ++number;
  const auto add = [&](const std::string& text) { devices.at(number).frame += " " + text; };
  const std::string name = std::to_string(number);
  switch (eis_event_get_type(event)) {
    case EIS_EVENT_CLIENT_CONNECT: {
      eis_client* const client = eis_event_get_client(event);
      writeDown(std::string("connect ") + eis_client_get_name(client));
      eis_client_connect(client);
      eis_seat* const seat = eis_client_new_seat(client, "seat");
      for (const auto capability :
           {EIS_DEVICE_CAP_POINTER, EIS_DEVICE_CAP_POINTER_ABSOLUTE, EIS_DEVICE_CAP_BUTTON,
            EIS_DEVICE_CAP_SCROLL, EIS_DEVICE_CAP_KEYBOARD, EIS_DEVICE_CAP_TOUCH}) {
        eis_seat_configure_capability(seat, capability);
      }
      eis_seat_add(seat);
      eis_seat_unref(seat);
      break;
    }
    case EIS_EVENT_CLIENT_DISCONNECT:
      return false;
    case EIS_EVENT_SEAT_BIND: {
      std::string bound;
      for (const int capability : {1, 2, 4, 8, 16, 32}) {
        if (eis_event_seat_has_capability(event, static_cast<eis_device_capability>(capability))) {
          bound += " " + std::to_string(capability);
        }
      }
      if (bound.empty()) break;  // the client is leaving
      writeDown("bind" + bound);
      announceAll(eis_event_get_seat(event), false);
      break;
    }
    case EIS_EVENT_DEVICE_START_EMULATING:
      writeDown(name + " start");
      announceAll(eis_device_get_seat(source), true);
      break;
    case EIS_EVENT_POINTER_MOTION_ABSOLUTE:
      add(format("motion %.9g %.9g", eis_event_pointer_get_absolute_x(event),
                 eis_event_pointer_get_absolute_y(event)));
      break;
    case EIS_EVENT_BUTTON_BUTTON:
      add(format("button %u %d", eis_event_button_get_button(event), eis_event_button_get_is_press(event)));
      break;
    case EIS_EVENT_SCROLL_DISCRETE:
      add(format("scroll %d %d", eis_event_scroll_get_discrete_dx(event),
                 eis_event_scroll_get_discrete_dy(event)));
      break;
    case EIS_EVENT_KEYBOARD_KEY:
      add(format("key %u %d", eis_event_keyboard_get_key(event), eis_event_keyboard_get_key_is_press(event)));
      break;
    case EIS_EVENT_FRAME:
      writeDown(name + std::exchange(devices.at(number).frame, ""));
      break;
    default:
      break;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  recordFile = open(argv[2], O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  for (int i = 3; i < argc; ++i) devices.push_back({argv[i], nullptr, ""});

  const std::unique_ptr<eis, Release> context(eis_new(nullptr));
  if (eis_setup_backend_socket(context.get(), argv[1]) != 0) return 1;
  std::puts("listening");
  std::fflush(stdout);

  pollfd sources[] = {{STDIN_FILENO, 0, 0}, {eis_get_fd(context.get()), POLLIN, 0}};
  bool connected = true;
  while (connected && poll(sources, 2, -1) > 0 && sources[0].revents == 0) {
    eis_dispatch(context.get());
    while (const std::unique_ptr<eis_event, Release> event{eis_get_event(context.get())}) {
      connected = handle(event.get()) && connected;
    }
  }
  devices.clear();
  return 0;
}
