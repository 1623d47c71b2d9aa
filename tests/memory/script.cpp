#include "script.h"

#include <cstddef>
#include <utility>

namespace qvg::test {

bool Script::Start() {
  if (table == nullptr) {
    table = Slot("start", [] { return QVG_GetGLRendererInterface(nullptr); });
  }
  if (context == nullptr) context = Slot("GetSharedContext", [&] { return table->GetSharedContext(); });
  return context != nullptr && Slot("MakeCurrentContext", [&] { return table->MakeCurrentContext(context, nullptr); });
}

void Script::_Keep(const std::string& name, std::vector<uint8_t> bytes) {
  const auto expected = expected_.find(name);
  if (!expected_.empty() && (expected == expected_.end() || expected->second != bytes)) Fault(name + " is wrong");
  shown_[name] = std::move(bytes);
}

void Script::TakeBytes(const std::string& name, const QVGPixelBuffer& buffer) {
  std::vector<uint8_t> bytes;
  for (int p = 0; p < 3 && buffer.plane[p] != nullptr; ++p) {
    const int rows = p == 0 ? buffer.height : buffer.height / 2;
    bytes.insert(bytes.end(), buffer.plane[p], buffer.plane[p] + static_cast<std::ptrdiff_t>(buffer.stride[p]) * rows);
  }
  _Keep(name, std::move(bytes));
}

void Script::Show(const std::string& name, QVGTexture* texture) {
  if (texture == nullptr) return;
  const HeapPause pause;
  QVGPixelBuffer buffer = {}, *handle = &buffer;
  if (!table->TextureToRGBAPixelBuffer(texture, &buffer, false)) return Fault(name + " can't be read");
  TakeBytes(name, buffer);
  table->ReleasePixelBuffer(&handle);
}

void Script::TakeRead(const std::string& name, bool ok, QVGPixelBuffer& buffer) {
  if (ok != (buffer.plane[0] != nullptr)) Fault(name + " has planes and failed, or none and did not");
  if (ok) TakeBytes(name, buffer);
  QVGPixelBuffer* handle = &buffer;
  GiveBack("ReleasePixelBuffer", table->ReleasePixelBuffer, handle);
}

void Script::End() {
  if (context != nullptr) {
    table->MakeCurrentContext(nullptr, nullptr);
    table->ReleaseSharedContext(&context);
  }
  if (FailedAllocations() > 0) return;
  for (const auto& [name, bytes] : expected_) {
    if (!shown_.contains(name)) Fault(name + " was not shown");
  }
}

}  // namespace qvg::test
