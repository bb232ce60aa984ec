#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/monitor.h"
#include "image/capture.h"
#include "wayland/portal/portal_session.h"
#include "wayland/stream/capture_state.h"
#include "wayland/stream/capture_stream.h"

namespace ostler {

// The monitors of a session that shares several, each with a stream of its own. Coordinates are
// those of the smallest desktop that spans them.
class SharedMonitors {
public:
  // The session has opened the stream of the first monitor. Blocks until the others have sent a
  // frame. Throws std::runtime_error.
  SharedMonitors(const PortalSession& portal, CaptureState& first);

  Size size() const { return bounds; }
  std::vector<Monitor> list() const;
  // Throws std::runtime_error if a stream has ended.
  void requireStreams();
  // How many frames have arrived in all.
  std::uint64_t countFrames() const;
  // Where the pointer is, if a stream reports it.
  std::optional<Position> reportedPointer() const;

  // Returns a picture of a part, which is taken from one monitor in its own pixels if it lies on
  // one, and its scale. The part is then relative to that picture.
  struct Picture {
    Capture capture;
    double scale;
    Rect crop;
  };
  Picture picture(Rect crop) const;

  // A place on one monitor, as the portal and EIS expect it.
  struct Place {
    std::uint32_t nodeId;
    Position inStream;
    Position onDesktop;
  };
  // Throws std::runtime_error if no monitor shows the position.
  Place find(Position position) const;

private:
  struct View {
    std::string id;
    Rect area;
    std::uint32_t nodeId;
    CaptureState* capture;
  };
  struct OtherStream {
    CaptureState capture;
    std::optional<CaptureStream> stream;
  };

  double scaleOf(const View& view) const;

  std::vector<std::unique_ptr<OtherStream>> others;
  std::vector<View> views;
  Point origin;  // of the spanning desktop
  Size bounds;
};

}  // namespace ostler
