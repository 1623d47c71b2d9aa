// Races planted on purpose, one per run: the thread sanitizer has to report each, even with the tests' suppressions;
// otherwise its silence about the library would mean nothing.
#include <atomic>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "support/table_test.h"

namespace qvg::test {
namespace {

// Runs it on two threads at a time. Nothing orders them, except that neither begins before both exist.
void OnTwoThreads(const std::function<void()>& work) {
  std::atomic<int> ready = 0;
  const auto run = [&] {
    ready.fetch_add(1, std::memory_order_relaxed);
    while (ready.load(std::memory_order_relaxed) < 2) std::this_thread::yield();
    work();
  };
  std::thread first(run), second(run);
  first.join();
  second.join();
}

// Through the library's own code, which is not told that the texture went to another thread.
void TextureOnTwoThreads() {
  const CurrentContext context;
  const Texture texture(Table().AcquireTexture(8, 8));
  OnTwoThreads([&] {
    for (uint32_t i = 0; i < 100000; ++i)
      Table().SetTextureOrigin(texture.get(), i, Table().GetTextureWidth(texture.get()));
  });
}

// The library reads a frame that another thread still writes.
void FrameUnderUpload() {
  std::array<uint8_t, 256> pixels = {};
  OnTwoThreads([&] {
    const CurrentContext context;
    const QVGPixelBuffer frame = {{pixels.data()}, {32}, 8, 8, 0, 0, QVG_FORMAT_RGBA};
    for (int i = 0; i < 20; ++i) {
      pixels.fill(static_cast<uint8_t>(i));
      Texture texture(Table().UploadPixelBufferToNewTexture(&frame, false, false, {}));
    }
  });
}

int Main(int argc, char** argv) {
  static const std::map<std::string, void (*)()> kRaces = {{"texture", TextureOnTwoThreads},
                                                           {"frame", FrameUnderUpload}};
  const auto race = argc == 2 ? kRaces.find(argv[1]) : kRaces.end();
  if (race == kRaces.end()) {
    for (const auto& [name, run] : kRaces) std::puts(name.c_str());
    return 0;
  }
  race->second();
  const QVGGLRendererInterface* table = &Table();
  QVG_ReleaseGLRendererInterface(&table);
  return 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
