#include "picture/sheet.h"

#include <fmt/format.h>

#include <cstring>

#include "media/colorConversion.h"
#include "media/complain.h"
#include "media/filters.h"
#include "media/mediaWriter.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

constexpr uint8_t kPaper[3] = {24, 26, 31};

}  // namespace

void Paste(const AVFrame& tile, AVFrame& picture, int x, int y) {
  for (int row = 0; row < tile.height; ++row) {
    std::memcpy(picture.data[0] + static_cast<ptrdiff_t>(y + row) * picture.linesize[0] + static_cast<ptrdiff_t>(x) * 3,
                tile.data[0] + static_cast<ptrdiff_t>(row) * tile.linesize[0], static_cast<size_t>(tile.width) * 3);
  }
}

Sheet::Sheet(int width, int height) : picture_(NewFrame(AV_PIX_FMT_RGB24, width, height)) {
  for (int y = 0; y < height; ++y) {
    uint8_t* row = picture_->data[0] + static_cast<ptrdiff_t>(y) * picture_->linesize[0];
    for (int x = 0; x < width * 3; ++x) row[x] = kPaper[x % 3];
  }
}

void Sheet::Paste(const AVFrame& tile, int x, int y) { qvgtool::Paste(tile, *picture_, x, y); }

void Sheet::Label(int x, int y, std::string text, int size) { labels_.push_back({x, y, size, std::move(text)}); }

void Sheet::Save(const std::string& path) {
  MediaWriter writer(path, {});
  if (!writer.SingleImage()) throw Error(path + ": the contact sheet must be an image, such as sheet.png");
  std::string chain;
  for (const Text& label : labels_) {
    chain +=
        fmt::format("{}drawtext=font=DejaVu Sans:fontsize={}:fontcolor=0xd8dbe2:expansion=none:x={}:y={}:text='{}'",
                    chain.empty() ? "" : ",", label.size, label.x, label.y, label.text);
  }
  if (FramePtr labelled = Filtered(*picture_, chain)) {
    picture_ = std::move(labelled);
  } else if (!chain.empty()) {
    Complain(fmt::format("{} has no labels: {}", path, FfmpegError(AVERROR(ENOENT))));
  }
  picture_->pts = 0;
  VideoFormat format;
  format.width = picture_->width;
  format.height = picture_->height;
  writer.Open(format, *picture_, nullptr, 0);
  writer.Write(std::move(picture_));
  writer.Finish(false);
}

}  // namespace qvgtool
