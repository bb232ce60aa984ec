#include "backend/unsupported_backend.h"

#include <stdexcept>
#include <utility>

namespace ostler {
namespace {

class UnsupportedBackend : public Backend {
public:
  explicit UnsupportedBackend(std::string text) : message(std::move(text)) {}

  void mouseMove(double, double) override { fail(); }
  void click(double, double, const std::string&, int) override { fail(); }
  void drag(double, double, double, double) override { fail(); }
  void mouseDown(double, double) override { fail(); }
  void mouseUp(double, double) override { fail(); }
  void type(const std::string&) override { fail(); }
  void key(const std::string&) override { fail(); }
  void scroll(double, double, int, int) override { fail(); }
  Point cursorPosition() override { fail(); }
  Size display() override { fail(); }
  std::vector<unsigned char> screenshot(Size, Rect, double) override { fail(); }

private:
  [[noreturn]] void fail() const { throw std::runtime_error(message); }

  const std::string message;
};

}  // namespace

std::unique_ptr<Backend> makeUnsupportedBackend(std::string message) {
  return std::make_unique<UnsupportedBackend>(std::move(message));
}

}  // namespace ostler
