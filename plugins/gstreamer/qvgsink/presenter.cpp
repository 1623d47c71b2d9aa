#include "qvgsink/presenter.h"

#include <algorithm>
#include <cmath>

namespace qvgst {
namespace {

// Pixels that are not square make a frame larger, so that nothing is lost.
std::pair<double, double> DisplayedSize(const GstVideoInfo& info) {
  const double width = GST_VIDEO_INFO_WIDTH(&info), height = GST_VIDEO_INFO_HEIGHT(&info);
  const double aspect = static_cast<double>(GST_VIDEO_INFO_PAR_N(&info)) / GST_VIDEO_INFO_PAR_D(&info);
  return aspect > 1 ? std::pair(width * aspect, height) : std::pair(width, height / aspect);
}

}  // namespace

bool Presenter::Open() {
  const std::lock_guard lock(mutex_);
  if (!SinkWindow::IsDisplayThere()) {
    failure_ = "no X server answers";
    return false;
  }
  thread_ = std::make_unique<RenderThread>();
  if (thread_->Ready()) return true;
  failure_ = thread_->Failure();
  thread_.reset();
  return false;
}

void Presenter::Close() {
  std::shared_ptr<SinkWindow> window;
  {
    const std::lock_guard lock(mutex_);
    if (!thread_) return;
    CloseDrawer();
    window = std::exchange(window_, nullptr);
    thread_->Run([this] {
      frame_.reset();
      return true;
    });
    thread_.reset();
    upload_.reset();
  }
  if (window) window->End();
}

void Presenter::SetFormat(const GstVideoInfo& info) {
  const std::lock_guard lock(mutex_);
  upload_.emplace(info);
  // Memory of the old sizes is of no use any more.
  if (thread_) thread_->Run([] { return qvg::Table().ClearPixelBufferPool() && qvg::Table().ClearTexturePool(); });
}

GstClockTime Presenter::FrameDuration() {
  const std::lock_guard lock(mutex_);
  if (!upload_ || GST_VIDEO_INFO_FPS_N(&upload_->Info()) <= 0) return GST_CLOCK_TIME_NONE;
  return gst_util_uint64_scale_int(GST_SECOND, GST_VIDEO_INFO_FPS_D(&upload_->Info()),
                                   GST_VIDEO_INFO_FPS_N(&upload_->Info()));
}

void Presenter::SetForceAspectRatio(bool force) {
  const std::lock_guard lock(mutex_);
  forceAspectRatio_ = force;
}

void Presenter::SetOrientation(const Orientation& orientation) {
  const std::lock_guard lock(mutex_);
  orientation_ = orientation;
}

// ---- The window

void Presenter::SetHost(xcb_window_t host) {
  std::shared_ptr<SinkWindow> window;
  bool shown = false;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(place_.host, host) == host && window_ && drawer_) return;
    CloseDrawer();
    window = std::exchange(window_, nullptr);
    shown = host != XCB_WINDOW_NONE && static_cast<bool>(frame_);
  }
  if (window) window->End();
  if (!shown) return;
  try {
    MakeWindow({});
    Redraw();
  } catch (const std::exception&) {
    // The next frame fails as well, where it can be told.
  }
}

void Presenter::SetRectangle(const std::optional<Rectangle>& rectangle) {
  const std::lock_guard lock(mutex_);
  place_.rectangle = rectangle;
  if (window_) window_->SetRectangle(rectangle);
}

void Presenter::SetTakesInput(bool takesInput) {
  const std::lock_guard lock(mutex_);
  place_.takesInput = takesInput;
  if (window_) window_->SetTakesInput(takesInput);
}

bool Presenter::IsWithoutWindow() {
  const std::lock_guard lock(mutex_);
  return !window_ && place_.host == XCB_WINDOW_NONE;
}

std::optional<xcb_window_t> Presenter::MakeWindow(const std::string& title) {
  std::shared_ptr<SinkWindow> useless;
  {
    const std::lock_guard lock(mutex_);
    if (window_ || !thread_) return {};
    const auto [width, height] = DisplayedSize(upload_ ? upload_->Info() : shown_);
    place_.width = static_cast<int>(std::lround(orientation_.Lies() ? height : width));
    place_.height = static_cast<int>(std::lround(orientation_.Lies() ? width : height));
    place_.title = title;
    window_ = SinkWindow::Open(place_, listener_);
    if (OpenDrawer() || !window_->IsThere()) return window_->IsOwn() ? std::optional(window_->Frame()) : std::nullopt;
    useless = std::exchange(window_, nullptr);
  }
  useless->End();
  throw std::runtime_error(Failure());
}

void Presenter::Drop() {
  const std::lock_guard lock(mutex_);
  CloseDrawer();
}

bool Presenter::OpenDrawer() {
  return OnThread([this] {
    drawer_ = qvg::WndDrawer::On(std::uintptr_t{window_->Picture()});
    return static_cast<bool>(drawer_);
  });
}

void Presenter::CloseDrawer() {
  if (!drawer_) return;
  OnThread([this] {
    if (const qvg::CurrentContext current(drawer_.ContextHandle()); current) qvg::Finish();
    drawer_.reset();
    return true;
  });
}

// ---- Frames

bool Presenter::OnThread(const std::function<bool()>& work) {
  if (thread_->Run(work)) return true;
  failure_ = thread_->Failure();
  return false;
}

bool Presenter::Show(GstBuffer* buffer) {
  const std::lock_guard lock(mutex_);
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &upload_->Info(), buffer, GST_MAP_READ)) {
    failure_ = "the frame's memory can't be read";
    return false;
  }
  const bool uploaded = OnThread([&] {
    // There, so that nothing has to wait until the upload is done.
    const qvg::CurrentContext current(drawer_ ? drawer_.ContextHandle() : nullptr);
    frame_ = upload_->Upload(frame, AlphaForm::kStraight);
    shown_ = upload_->Info();
    if (!current) qvg::Finish();
    return static_cast<bool>(frame_);
  });
  gst_video_frame_unmap(&frame);
  return uploaded && Present();
}

bool Presenter::Redraw() {
  const std::lock_guard lock(mutex_);
  return Present();
}

bool Presenter::Present() {
  if (!thread_ || !drawer_ || !frame_) return true;
  const auto [width, height] = window_->Size();
  const Place place = FrameIn(width, height);
  const bool shown = OnThread([&, w = width, h = height] {
    const qvg::CurrentContext current(drawer_.ContextHandle());
    if (!current || !drawer_.SetSize(static_cast<uint32_t>(w), static_cast<uint32_t>(h))) return false;
    return Draw(place);
  });
  return shown || !window_->IsThere();
}

void Presenter::Clear() {
  const std::lock_guard lock(mutex_);
  if (!thread_) return;
  OnThread([this] {
    frame_.reset();
    const qvg::CurrentContext current(drawer_ ? drawer_.ContextHandle() : nullptr);
    return !current || drawer_.Clear(0, 0, 0);
  });
}

// The window need not be filled evenly.
Presenter::Place Presenter::FrameIn(int width, int height) const {
  if (!forceAspectRatio_) return {0, 0, static_cast<double>(width), static_cast<double>(height)};
  auto [frameWidth, frameHeight] = DisplayedSize(shown_);
  if (orientation_.Lies()) std::swap(frameWidth, frameHeight);
  const double scale = std::min(width / frameWidth, height / frameHeight);
  const double shownWidth = frameWidth * scale, shownHeight = frameHeight * scale;
  return {(width - shownWidth) / 2, (height - shownHeight) / 2, shownWidth, shownHeight};
}

// The window's drawer turns what it shows, but keeps its proportions.
bool Presenter::Draw(const Place& place) const {
  const bool lies = orientation_.Lies();
  const double width = lies ? place.height : place.width, height = lies ? place.width : place.height;
  const double byWidth = width / frame_.Width(), byHeight = height / frame_.Height();
  const auto turns = static_cast<uint32_t>(orientation_.quarterTurns);
  if (!orientation_.mirrored && std::abs(byWidth / byHeight - 1) < 1e-6) {
    return frame_.SetRotation(turns) && drawer_.Draw(frame_);
  }
  const qvg::Texture reshaped = Reshaped(std::max(1.0, std::round(width)), std::max(1.0, std::round(height)));
  return reshaped && reshaped.SetRotation(turns) && drawer_.Draw(reshaped);
}

qvg::Texture Presenter::Reshaped(double width, double height) const {
  qvg::Texture target = qvg::Texture::Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  const auto frameBuffer = target ? qvg::FrameBuffer::On(target) : qvg::FrameBuffer();
  const double byWidth = width / frame_.Width();
  const qvg::DrawParams params =
      qvg::DrawParams().Scale(orientation_.mirrored ? -byWidth : byWidth, height / frame_.Height());
  const bool drawn = frameBuffer && frameBuffer.Clear({0, 0, 0, 0}) && frame_.SetRotation(0) &&
                     frameBuffer.Draw(frame_, params) && target.SetFlipped(frame_.Flipped());
  return drawn ? std::move(target) : qvg::Texture();
}

std::pair<double, double> Presenter::ToFrame(double x, double y) {
  const std::lock_guard lock(mutex_);
  if (!frame_ || !window_) return {x, y};
  const auto [width, height] = window_->Size();
  const Place place = FrameIn(width, height);
  const auto [frameX, frameY] = orientation_.Undo((x - place.x) / place.width, (y - place.y) / place.height);
  return {frameX * GST_VIDEO_INFO_WIDTH(&shown_), frameY * GST_VIDEO_INFO_HEIGHT(&shown_)};
}

std::string Presenter::Failure() {
  const std::lock_guard lock(mutex_);
  return failure_;
}

}  // namespace qvgst
