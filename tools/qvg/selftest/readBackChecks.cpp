// Reads textures back in every format (slots 35 to 38).
#include <fmt/format.h>

#include <reference/drawing.h>
#include <reference/readBack.h>

#include "selftest/check.h"
#include "selftest/pictures.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

namespace {

const Sizes kSizes = {{37, 23}, {64, 48}, {7, 1}, {1, 6}};
constexpr double kExact = 0.01;

// Calls the test with textures whose content is the picture: all of their storage, a part off the centre of larger
// storage, and with larger storage for everything that a read-back takes from the pools; each with and without the
// flipped flag.
template <typename Test>
void ForEachTexture(Comparison& comparison, const Test& test) {
  const size_t sizes = comparison.Quick() ? 2 : kSizes.size();
  for (size_t i = 0; i < sizes; ++i) {
    const auto& [width, height] = kSizes[i];
    const Image picture = Picture(width, height, 1);
    for (const Storage storage : kStorages) {
      qvg::Texture texture = UploadedAnew(picture, storage);
      if (storage == Storage::kRecycled) {
        qvg::Table().PreallocateRenderBuffers(width + 33, height * 3 / 2 + 18, 2);
        qvg::Table().PreallocatePixelBuffers(65536, 1, false);
        const Image whole = Over(Picture(width + 9, height + 7, 99), picture, 2, 6);
        texture = Uploaded(whole);
        texture.SetOrigin((texture.AllocatedWidth() - whole.width) / 2 + 2,
                          (texture.AllocatedHeight() - whole.height) / 2 + 6);
        texture.SetSize(width, height);
      }
      for (const bool flipped : {false, true}) {
        texture.SetFlipped(flipped);
        comparison.Case(fmt::format("{} x {}, {}{}", width, height, Text(storage), flipped ? ", flipped" : ""));
        test(texture, picture);
      }
    }
  }
}

void CheckPacked(Comparison& comparison, bool bgra, bool flip) {
  ForEachTexture(comparison, [&](const qvg::Texture& texture, const Image& picture) {
    const qvg::ReadBack read = qvg::Checked(bgra ? texture.ReadBGRA(flip) : texture.ReadRGBA(flip),
                                            bgra ? "TextureToBGRAPixelBuffer" : "TextureToRGBAPixelBuffer");
    comparison.Same(flip ? FlippedRows(picture) : picture, PixelsOf(*read));
  });
}

void CheckPlanar(Comparison& comparison, bool fullRange, bool mirror) {
  ForEachTexture(comparison, [&](const qvg::Texture& texture, const Image& picture) {
    const qvg::ReadBack read = qvg::Checked(texture.ReadYUV420(fullRange, mirror), "TextureToYUV420PixelBuffer");
    comparison.Same(ExpectedI420(picture, !texture.Flipped(), mirror, fullRange), *read);
  });
}

void CheckNV12(Comparison& comparison, bool mirror) {
  ForEachTexture(comparison, [&](const qvg::Texture& texture, const Image& picture) {
    const qvg::ReadBack read = qvg::Checked(texture.ReadNV12(mirror), "TextureToNV12PixelBuffer");
    comparison.Same(ExpectedNV12(picture, !texture.Flipped(), mirror), *read);
  });
}

// Formats that are read as they are stored.
void CheckOtherForms(Comparison& comparison) {
  const auto check = [&](const char* form, const qvg::Texture& texture, const Image& stored) {
    comparison.Case(form);
    texture.SetFlipped(true);
    comparison.Same(ExpectedNV12(stored, false, false), *qvg::Checked(texture.ReadNV12(), "TextureToNV12PixelBuffer"));
    comparison.Same(stored, Content(texture));
  };
  check("premultiplied", UploadedPremultiplied(Cutout(64, 48, 1)), Cutout(64, 48, 1));
  for (const int code : {QVG_FORMAT_RGB, QVG_FORMAT_BGR, QVG_FORMAT_RGBX332}) {
    const Frame frame = MakeFrame(HeapMemory, code, 37, 24, 3);
    check(FormatOf(code).name, Uploaded(frame), ExpectedUpload(frame, 37, 24));
  }
}

// Reads textures that pending work samples, and that were drawn to after that.
void CheckPending(Comparison& comparison) {
  constexpr int kWidth = 480, kHeight = 270;
  const QVGCamera camera = DefaultCamera(kWidth, kHeight);
  const qvg::Texture canvas = qvg::Checked(qvg::Texture::Acquire(kWidth, kHeight), "AcquireTexture");
  const Image pictures[] = {Picture(kWidth, kHeight, 1), Picture(kWidth, kHeight, 2)};
  const qvg::Texture sources[] = {Uploaded(pictures[0]), Uploaded(pictures[1])}, texture = Uploaded(pictures[1]);
  const qvg::FrameBuffer onCanvas = TargetOn(canvas, camera), onTexture = TargetOn(texture, camera);
  for (int i = 0; i < (comparison.Quick() ? 4 : 12); ++i) {
    comparison.Case(fmt::format("drawn {} times", i + 1));
    qvg::Checked(onCanvas.Draw(texture) && onTexture.Draw(sources[i % 2]), "DrawTexture");
    comparison.Same(pictures[i % 2], Content(texture));
  }
}

}  // namespace

std::vector<Check> ReadBackChecks() {
  std::vector<Check> checks;
  const auto add = [&](const std::string& name, double limit, std::function<void(Comparison&)> run) {
    checks.push_back({"readback", name, limit, std::move(run)});
  };
  for (const bool turned : {false, true}) {
    const std::string flip = turned ? ", last row first" : "", mirror = turned ? ", mirrored" : "";
    add("RGBA" + flip, kExact, [=](Comparison& c) { CheckPacked(c, false, turned); });
    add("BGRA" + flip, kExact, [=](Comparison& c) { CheckPacked(c, true, turned); });
    add("I420, limited range" + mirror, kYuvReadBackLimit, [=](Comparison& c) { CheckPlanar(c, false, turned); });
    add("J420, full range" + mirror, kYuvReadBackLimit, [=](Comparison& c) { CheckPlanar(c, true, turned); });
    add("NV12, limited range" + mirror, kYuvReadBackLimit, [=](Comparison& c) { CheckNV12(c, turned); });
  }
  add("premultiplied and 3-byte textures", kYuvReadBackLimit, CheckOtherForms);
  add("what was drawn last", kExact, CheckPending);
  return checks;
}

}  // namespace qvgtool::selftest
