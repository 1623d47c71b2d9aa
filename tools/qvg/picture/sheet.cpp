#include "picture/sheet.h"

#include <fmt/format.h>

#include <cstring>

#include "media/complain.h"
#include "media/frameEdits.h"
#include "media/mediaWriter.h"

namespace qvgtool {
namespace {

constexpr uint8_t kPaper[3] = {24, 26, 31};

}  // namespace

void Paste(const Frame& tile, Frame& picture, int x, int y) {
  for (int row = 0; row < tile.height; ++row) {
    std::memcpy(Row(picture, y + row) + ptrdiff_t{3} * x, Row(tile, row), static_cast<size_t>(tile.width) * 3);
  }
}

Sheet::Sheet(int width, int height) : picture_(NewPackedFrame(PixelFormat::kRGB, width, height)) {
  for (int y = 0; y < height; ++y) {
    uint8_t* row = Row(*picture_, y);
    for (int x = 0; x < width * 3; ++x) row[x] = kPaper[x % 3];
  }
}

void Sheet::Paste(const Frame& tile, int x, int y) { qvgtool::Paste(tile, *picture_, x, y); }

void Sheet::Label(int x, int y, std::string text, int size) {
  labels_.push_back({.text = std::move(text), .size = static_cast<double>(size), .x = x, .y = y});
}

void Sheet::Save(const std::string& path) {
  const auto writer = MakeWriter(path, {});
  if (!writer->SingleImage()) throw Error(path + ": the contact sheet must be an image, such as sheet.png");
  std::string reason;
  if (FramePtr labelled = WithCaptions(*picture_, labels_, reason)) {
    picture_ = std::move(labelled);
  } else {
    Complain(fmt::format("{} has no labels: {}", path, reason));
  }
  picture_->pts = 0;
  VideoFormat format;
  format.width = picture_->width;
  format.height = picture_->height;
  writer->Open(format, *picture_, nullptr, 0);
  writer->Write(std::move(picture_));
  writer->Finish(false);
}

}  // namespace qvgtool
