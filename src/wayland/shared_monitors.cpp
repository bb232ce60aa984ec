#include "wayland/shared_monitors.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "wayland/stream/unpack.h"

namespace ostler {
namespace {

constexpr std::ptrdiff_t bytesOfPixel = 3;

std::int32_t scaled(std::int32_t units, double scale) {
  return static_cast<std::int32_t>(std::lround(units * scale));
}

Rect scaled(const Rect& area, double scale) {
  const std::int32_t left = scaled(area.x, scale), top = scaled(area.y, scale);
  return {left, top, scaled(area.x + area.width, scale) - left, scaled(area.y + area.height, scale) - top};
}

bool encloses(const Rect& area, const Rect& part) {
  return part.width > 0 && part.height > 0 && part.x >= area.x && part.y >= area.y &&
         part.x + part.width <= area.x + area.width && part.y + part.height <= area.y + area.height;
}

// One monitor in the picture of all. `place` is in the pixels of that picture.
struct Layer {
  Rect place;
  std::shared_ptr<const Frame> frame;
};

// Draws what `part` shows of a layer. A monitor of a smaller scale gets the nearest of its pixels.
void draw(const Layer& layer, const Rect& part, RgbImage& result) {
  const Rect& place = layer.place;
  const Size size{layer.frame->format.width, layer.frame->format.height};
  const std::int32_t left = std::max(place.x, part.x), top = std::max(place.y, part.y);
  const std::int32_t right = std::min(place.x + place.width, part.x + part.width);
  const std::int32_t bottom = std::min(place.y + place.height, part.y + part.height);
  if (left >= right || top >= bottom) return;
  const auto source = [](std::int32_t pixel, std::int32_t start, std::int32_t length, std::int32_t pixels) {
    return static_cast<std::int32_t>(std::int64_t{pixel - start} * pixels / length);
  };
  const Rect used{source(left, place.x, place.width, size.width),
                  source(top, place.y, place.height, size.height), 0, 0};
  const std::int32_t lastX = source(right - 1, place.x, place.width, size.width);
  const std::int32_t lastY = source(bottom - 1, place.y, place.height, size.height);
  const RgbImage image = unpack(*layer.frame, {used.x, used.y, lastX - used.x + 1, lastY - used.y + 1});
  for (std::int32_t y = top; y < bottom; ++y) {
    const unsigned char* const from = image.row(source(y, place.y, place.height, size.height) - used.y);
    unsigned char* to = result.row(y - part.y) + (left - part.x) * bytesOfPixel;
    for (std::int32_t x = left; x < right; ++x, to += bytesOfPixel) {
      std::copy_n(from + (source(x, place.x, place.width, size.width) - used.x) * bytesOfPixel, bytesOfPixel,
                  to);
    }
  }
}

}  // namespace

SharedMonitors::SharedMonitors(const PortalSession& portal, CaptureState& first) {
  Point end{std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::min()};
  origin = *portal.streams().front().position;
  for (const SharedStream& stream : portal.streams()) {
    const Point position = *stream.position;
    origin = {std::min(origin.x, position.x), std::min(origin.y, position.y)};
    end = {std::max(end.x, position.x + stream.logicalSize->width),
           std::max(end.y, position.y + stream.logicalSize->height)};
  }
  bounds = {end.x - origin.x, end.y - origin.y};

  for (const SharedStream& stream : portal.streams()) {
    CaptureState* state = &first;
    if (!views.empty()) {
      others.push_back(std::make_unique<OtherStream>());
      state = &others.back()->capture;
      state->setLogicalSize(*stream.logicalSize);
      others.back()->stream.emplace(portal.openPipeWireRemote(), stream.nodeId, *state);
    }
    const Point position = *stream.position;
    const Rect area{position.x - origin.x, position.y - origin.y, stream.logicalSize->width,
                    stream.logicalSize->height};
    views.push_back({stream.mappingId.value_or(std::to_string(views.size())), area, stream.nodeId, state});
  }
  for (const auto& each : others) waitForFirstFrame(each->capture, *each->stream);
}

double SharedMonitors::scaleOf(const View& view) const {
  const std::int32_t pixels = view.capture->format().width;
  return pixels > 0 ? static_cast<double>(pixels) / view.area.width : 1.0;
}

std::vector<Monitor> SharedMonitors::list() const {
  std::vector<Monitor> monitors;
  for (const View& view : views) monitors.push_back({view.id, view.area, scaleOf(view)});
  return monitors;
}

void SharedMonitors::requireStreams() {
  for (const auto& each : others) each->capture.waitForFirstFrame(std::chrono::steady_clock::now());
}

std::uint64_t SharedMonitors::countFrames() const {
  std::uint64_t frames = 0;
  for (const View& view : views) frames += view.capture->countFrames();
  return frames;
}

std::optional<Position> SharedMonitors::reportedPointer() const {
  for (const View& view : views) {
    const std::optional<Position> reported = view.capture->reportedPointer();
    if (reported) return Position{reported->x + view.area.x, reported->y + view.area.y};
  }
  return std::nullopt;
}

SharedMonitors::Picture SharedMonitors::picture(Rect crop) const {
  for (const View& view : views) {
    if (!encloses(view.area, crop)) continue;
    const std::shared_ptr<const Frame> frame = view.capture->latestFrame();
    auto convert = [frame](const Rect& part) { return unpack(*frame, part); };
    return {{{frame->format.width, frame->format.height}, std::move(convert)},
            static_cast<double>(frame->format.width) / view.area.width,
            {crop.x - view.area.x, crop.y - view.area.y, crop.width, crop.height}};
  }
  double scale = 0.0;
  for (const View& view : views) scale = std::max(scale, scaleOf(view));
  std::vector<Layer> layers;
  for (const View& view : views) layers.push_back({scaled(view.area, scale), view.capture->latestFrame()});
  auto convert = [layers = std::move(layers)](const Rect& part) {
    RgbImage result(part.width, part.height);
    std::fill(result.bytes.begin(), result.bytes.end(), 0);
    for (const Layer& layer : layers) draw(layer, part, result);
    return result;
  };
  return {{{scaled(bounds.width, scale), scaled(bounds.height, scale)}, std::move(convert)}, scale, crop};
}

SharedMonitors::Place SharedMonitors::find(Position position) const {
  // The right and bottom edges belong to the last pixels, as with one monitor.
  const auto shows = [&](const View& view, double edge) {
    const Rect area = view.area;
    return position.x >= area.x && position.y >= area.y && position.x < area.x + area.width + edge &&
           position.y < area.y + area.height + edge;
  };
  for (const double edge : {0.0, 0.5}) {
    for (const View& view : views) {
      if (!shows(view, edge)) continue;
      return {view.nodeId,
              {position.x - view.area.x, position.y - view.area.y},
              {position.x + origin.x, position.y + origin.y}};
    }
  }
  throw std::runtime_error("No monitor shows the point " + std::to_string(std::lround(position.x)) + "," +
                           std::to_string(std::lround(position.y)) + ".");
}

}  // namespace ostler
