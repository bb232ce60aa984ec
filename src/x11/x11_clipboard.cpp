#include "x11/x11_clipboard.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "x11/selection_owner.h"
#include "x11/selection_reader.h"

namespace ostler {
namespace {

class X11Clipboard final : public Clipboard {
public:
  const char* kind() const override { return "x11"; }

  ClipboardContent read(ClipboardPart part) override {
    const std::shared_ptr<const ClipboardContent> own = owner.held();
    return own != nullptr ? *own : readSelection(part);
  }

  void write(ClipboardContent content) override {
    if (content.empty()) return owner.drop();
    if (!owner.take(std::move(content)))
      throw std::runtime_error("The X server did not accept the clipboard's content.");
  }

  bool owns() override { return owner.held() != nullptr; }
  ReaderWatch& readers() override { return owner.readers; }
  bool handOver() override { return owner.handOver(); }
  std::uint32_t offeredAt() override { return owner.heldSince(); }

private:
  SelectionOwner owner;
};

}  // namespace

std::unique_ptr<Clipboard> makeX11Clipboard() {
  try {
    return std::make_unique<X11Clipboard>();
  } catch (const std::runtime_error&) {
    return nullptr;
  }
}

void keepX11Clipboard(ClipboardContent content, std::uint32_t since, const std::function<void()>& taken) {
  SelectionOwner owner;
  if (!owner.take(std::move(content), since)) return;
  taken();
  owner.waitUntilLost();
}

}  // namespace ostler
