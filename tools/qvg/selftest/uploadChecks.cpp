// Uploads frames of every format (slots 21 and 22) and reads them back.
#include <fmt/format.h>

#include "selftest/check.h"
#include "selftest/pictures.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

namespace {

const Sizes kSizes = {{37, 23}, {64, 48}, {5, 3}, {1, 1}};

std::string CaseOf(const Layout& layout, const char* storage) {
  return fmt::format("{}, {} x {}, {}", layout.name, layout.width, layout.height, storage);
}

// Runs the test with several sizes and memory layouts of the format.
template <typename Test>
void ForEachLayout(const Comparison& comparison, int code, const Test& test) {
  const size_t sizes = comparison.Quick() ? 2 : kSizes.size();
  for (size_t i = 0; i < sizes; ++i) {
    for (const Layout& layout : Layouts(code, kSizes[i].first, kSizes[i].second)) test(layout);
  }
}

void CheckNew(Comparison& comparison, int code) {
  ForEachLayout(comparison, code, [&](const Layout& layout) {
    for (const Storage storage : kStorages) {
      for (const qvg::Rows rows : {qvg::Rows::kTopDown, qvg::Rows::kBottomUp}) {
        const bool bottomUp = rows == qvg::Rows::kBottomUp;
        comparison.Case(CaseOf(layout, Text(storage)) + (bottomUp ? ", bottom-up" : ""));
        Prepare(storage, code, layout.width, layout.height);
        const Frame frame = MakeFrame(HeapMemory, layout, bottomUp ? 1 : 2);
        const qvg::Texture texture = Uploaded(frame, rows);
        comparison.Holds(texture.Flipped() != bottomUp, "the flag \"flipped\" tells of top-down frames");
        comparison.Same(ExpectedUpload(frame, layout.width, layout.height), Content(texture));
      }
    }
  });
}

void CheckInto(Comparison& comparison, const Format& format) {
  ForEachLayout(comparison, format.code, [&](const Layout& layout) {
    comparison.Case(CaseOf(layout, "over another frame"));
    const qvg::Texture texture = Uploaded(MakeFrame(HeapMemory, format.code, 71, 52, 5));
    const Frame frame = MakeFrame(HeapMemory, layout, 3);
    qvg::Checked(texture.Update(frame.buffer), "UploadPixelBufferToTexture");
    // A YUV frame is scaled to the content, a packed one becomes the content.
    const int width = format.yuv() ? 71 : layout.width, height = format.yuv() ? 52 : layout.height;
    comparison.Same(ExpectedUpload(frame, width, height), Content(texture));
  });
}

void CheckFormulas(Comparison& comparison, int code) {
  for (const Layout& layout : Layouts(code, kFlatWidth, kFlatHeight)) {
    comparison.Case(layout.name);
    const Frame frame = MakeFlatFrame(HeapMemory, layout);
    comparison.Same(ExpectedUpload(frame, kFlatWidth, kFlatHeight), Content(Uploaded(frame)), NotFlat());
    if (comparison.Quick()) return;
  }
}

void CheckMatte(Comparison& comparison, int code) {
  const Color key = {20 / 255.0, 200 / 255.0, 90 / 255.0, 130 / 255.0};
  const QVGColor matte = {key[0] + 0.002, key[1] + 0.002, key[2] + 0.002, key[3] + 0.002};
  ForEachLayout(comparison, code, [&](const Layout& layout) {
    comparison.Case(CaseOf(layout, "fresh storage"));
    // The matte colour itself, and colours a step off in each channel and direction.
    Image picture = Picture(layout.width, layout.height, 6);
    for (size_t i = 0; i < picture.texels.size(); i += 2) {
      const int which = static_cast<int>(i / 2 % 9);
      picture.texels[i] = key;
      if (which > 0) picture.texels[i][(which - 1) / 2] += (which % 2 == 0 ? 1 : -1) / 255.0;
    }
    Prepare(Storage::kFresh, code, layout.width, layout.height);
    const Frame frame = MakeFrame(HeapMemory, layout, picture);
    const qvg::Texture texture = qvg::Checked(qvg::Texture::FromFrame(frame.buffer, qvg::Rows::kTopDown, &matte),
                                              "UploadPixelBufferToNewTexture");
    comparison.Same(Matted(picture, matte), Content(texture));
  });
}

}  // namespace

std::vector<Check> UploadChecks() {
  std::vector<Check> checks;
  const auto add = [&](const std::string& name, double limit, std::function<void(Comparison&)> run) {
    checks.push_back({"upload", name, limit, std::move(run)});
  };
  for (const Format& format : Formats()) {
    const std::string name = format.name;
    const double limit = UploadLimit(format);
    add(name, limit, [code = format.code](Comparison& c) { CheckNew(c, code); });
    add(name + " into a texture", limit, [&format](Comparison& c) { CheckInto(c, format); });
    if (format.yuv())
      add(name + " formulas", kFlatLimit, [code = format.code](Comparison& c) { CheckFormulas(c, code); });
    const bool fourChannels = !format.yuv() && format.order[3] >= 0;
    if (fourChannels) add(name + " matte colour", limit, [code = format.code](Comparison& c) { CheckMatte(c, code); });
  }
  return checks;
}

}  // namespace qvgtool::selftest
