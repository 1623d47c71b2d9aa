#include "picture/contactSheet.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "picture/sheet.h"

namespace qvgtool {
namespace {

constexpr int kRows = 3, kTileWidth = 560, kGap = 16, kLabelHeight = 34;

}  // namespace

ContactSheet::ContactSheet(std::string path, const VideoFormat& after, int64_t total)
    : path_(std::move(path)), total_(total), tileWidth_(kTileWidth) {
  tileHeight_ = std::clamp(static_cast<int>(std::lround(static_cast<double>(kTileWidth) * after.height / after.width)),
                           kTileWidth / 4, kTileWidth * 2);
}

bool ContactSheet::Wants(int64_t index) const {
  const auto taken = static_cast<int64_t>(rows_.size());
  if (taken >= kRows) return false;
  return index >= (total_ > 0 ? total_ * (2 * taken + 1) / (2 * kRows) : taken * 25);
}

FramePtr ContactSheet::_Tile(const Frame& frame, int width, int height) {
  const double scale = std::min(static_cast<double>(width) / frame.width, static_cast<double>(height) / frame.height);
  const int innerWidth = std::max(1, static_cast<int>(frame.width * scale));
  const int innerHeight = std::max(1, static_cast<int>(frame.height * scale));
  ColorConverter converter;
  const Frame& inner = converter.Convert(frame, PixelFormat::kRGB, innerWidth, innerHeight, kRgbColors);
  FramePtr tile = NewPackedFrame(PixelFormat::kRGB, width, height);
  std::memset(tile->data[0], 0, static_cast<size_t>(tile->stride[0]) * static_cast<size_t>(height));
  Paste(inner, *tile, (width - innerWidth) / 2, (height - innerHeight) / 2);
  return tile;
}

void ContactSheet::Add(const Frame& before, const Frame& after, double seconds) {
  rows_.push_back({_Tile(before, tileWidth_, tileHeight_), _Tile(after, tileWidth_, tileHeight_), seconds});
}

bool ContactSheet::Save() {
  if (rows_.empty()) return false;
  const int columnWidth = tileWidth_ + kGap, rowHeight = tileHeight_ + kLabelHeight + kGap;
  Sheet sheet(2 * columnWidth + kGap, static_cast<int>(rows_.size()) * rowHeight + kGap);
  int y = kGap;
  for (const Row& row : rows_) {
    int x = kGap;
    for (const auto& [tile, label] : {std::pair(&row.before, "before"), std::pair(&row.after, "after")}) {
      sheet.Paste(**tile, x, y);
      sheet.Label(x + 2, y + tileHeight_ + 9, fmt::format("{}   {:.2f} s", label, row.seconds));
      x += columnWidth;
    }
    y += rowHeight;
  }
  sheet.Save(path_);
  return true;
}

}  // namespace qvgtool
