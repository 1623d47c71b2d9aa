#include "platform.h"

#include <utility>

namespace qvg::test {
namespace {

// Rows without padding, the top one first.
Image ImageOfBGRX(const uint8_t* bytes, int width, int height) {
  return MakeImage(width, height, [&](int x, int y) -> Color {
    const uint8_t* pixel = bytes + (static_cast<size_t>(y) * width + x) * 4;
    return {pixel[2] / 255.0, pixel[1] / 255.0, pixel[0] / 255.0, 1};
  });
}

}  // namespace
}  // namespace qvg::test

#ifdef _WIN32

#include <windows.h>

namespace qvg::test {
namespace {

constexpr size_t kPage = 4096;

void* MapPages(size_t size) { return VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE); }
void Forbid(void* page) {
  DWORD old = 0;
  VirtualProtect(page, kPage, PAGE_NOACCESS, &old);
}
void UnmapPages(void* base, size_t) { VirtualFree(base, 0, MEM_RELEASE); }

}  // namespace

void* GLFunction(const char* name) {
  static const HMODULE library = LoadLibraryA("opengl32.dll");
  using GetProc = void*(WINAPI*)(const char*);
  static const auto getProc =
      reinterpret_cast<GetProc>(reinterpret_cast<void*>(GetProcAddress(library, "wglGetProcAddress")));
  if (void* extension = getProc(name)) return extension;
  return reinterpret_cast<void*>(GetProcAddress(library, name));
}

bool HostWindow::Available() { return true; }

HostWindow::HostWindow(int width, int height, int x, int y) {
  static const ATOM windowClass = [] {
    WNDCLASSA description = {};
    description.style = CS_OWNDC;
    description.lpfnWndProc = DefWindowProcA;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = "QVGTestWindow";
    return RegisterClassA(&description);
  }();
  if (windowClass == 0) return;
  handle_ = CreateWindowExA(0, "QVGTestWindow", "test", WS_POPUP | WS_VISIBLE, x, y, width, height, nullptr, nullptr,
                            GetModuleHandleA(nullptr), nullptr);
}

void HostWindow::Resize(int width, int height) {
  SetWindowPos(static_cast<HWND>(handle_), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// From the screen: what GL shows in a window is not in reach of the window's own device context.
Image HostWindow::Pixels() const {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) DispatchMessageA(&message);
  RECT area = {};
  POINT origin = {};
  if (GetClientRect(static_cast<HWND>(handle_), &area) == FALSE) return {};
  ClientToScreen(static_cast<HWND>(handle_), &origin);
  if (origin.x + area.right > GetSystemMetrics(SM_CXSCREEN)) return {};
  if (origin.y + area.bottom > GetSystemMetrics(SM_CYSCREEN)) return {};
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = area.right;
  info.bmiHeader.biHeight = -area.bottom;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  const HGDIOBJ before = SelectObject(memory, bitmap);
  Image image;
  if (BitBlt(memory, 0, 0, area.right, area.bottom, screen, origin.x, origin.y, SRCCOPY) != FALSE) {
    GdiFlush();
    image = ImageOfBGRX(static_cast<const uint8_t*>(bits), area.right, area.bottom);
  }
  SelectObject(memory, before);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  return image;
}

void HostWindow::Destroy() {
  if (handle_ != nullptr) DestroyWindow(static_cast<HWND>(handle_));
  handle_ = nullptr;
}

std::vector<void*> UnusableWindows() { return {GetDesktopWindow()}; }

}  // namespace qvg::test

#else

#include <dlfcn.h>
#include <sys/mman.h>
#include <xcb/xcb.h>

#include <cstdlib>

namespace qvg::test {
namespace {

constexpr size_t kPage = 4096;

void* MapPages(size_t size) { return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }
void Forbid(void* page) { mprotect(page, kPage, PROT_NONE); }
void UnmapPages(void* base, size_t size) { munmap(base, size); }

template <typename Function>
Function Symbol(const char* library, const char* name) {
  void* handle = dlopen(library, RTLD_NOW);
  return handle == nullptr ? nullptr : reinterpret_cast<Function>(dlsym(handle, name));
}

#define XCB(name) Symbol<decltype(&name)>("libxcb.so.1", #name)

// The windows' own connection, as a host has its own; null without an X server.
xcb_connection_t* Connection() {
  static xcb_connection_t* const connection = []() -> xcb_connection_t* {
    if (std::getenv("DISPLAY") == nullptr) return nullptr;
    const auto connect = XCB(xcb_connect);
    if (connect == nullptr) return nullptr;
    xcb_connection_t* made = connect(nullptr, nullptr);
    if (XCB(xcb_connection_has_error)(made) == 0) return made;
    XCB(xcb_disconnect)(made);
    return nullptr;
  }();
  return connection;
}

xcb_screen_t* Screen() { return XCB(xcb_setup_roots_iterator)(XCB(xcb_get_setup)(Connection())).data; }

void* Handle(uint32_t id) { return reinterpret_cast<void*>(static_cast<uintptr_t>(id)); }
uint32_t Id(void* handle) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle)); }

// Waits until the server has done what was asked.
void Synchronise() {
  const auto cookie = XCB(xcb_get_input_focus)(Connection());
  std::free(XCB(xcb_get_input_focus_reply)(Connection(), cookie, nullptr));
}

}  // namespace

void* GLFunction(const char* name) {
  using GetProc = void* (*)(const char*);
  // The one that the library calls, which may be the program's.
  static const auto getProc = reinterpret_cast<GetProc>(dlsym(RTLD_DEFAULT, "eglGetProcAddress"));
  return getProc == nullptr ? nullptr : getProc(name);
}

bool HostWindow::Available() { return Connection() != nullptr; }

HostWindow::HostWindow(int width, int height, int x, int y) {
  if (!Available()) return;
  xcb_connection_t* connection = Connection();
  const uint32_t window = XCB(xcb_generate_id)(connection);
  // No window manager shall give it another size or place.
  const uint32_t overrideRedirect = 1;
  XCB(xcb_create_window)
  (connection, XCB_COPY_FROM_PARENT, window, Screen()->root, static_cast<int16_t>(x), static_cast<int16_t>(y),
   static_cast<uint16_t>(width), static_cast<uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, Screen()->root_visual,
   XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
  XCB(xcb_map_window)(connection, window);
  Synchronise();
  handle_ = Handle(window);
}

void HostWindow::Resize(int width, int height) {
  const uint32_t size[] = {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
  XCB(xcb_configure_window)
  (Connection(), Id(handle_), XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
  Synchronise();
}

Image HostWindow::Pixels() const {
  xcb_connection_t* connection = Connection();
  const auto sizeCookie = XCB(xcb_get_geometry)(connection, Id(handle_));
  auto* const size = XCB(xcb_get_geometry_reply)(connection, sizeCookie, nullptr);
  if (size == nullptr) return {};
  const auto cookie = XCB(xcb_get_image)(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, Id(handle_), 0, 0, size->width,
                                         size->height, ~uint32_t{0});
  auto* const reply = XCB(xcb_get_image_reply)(connection, cookie, nullptr);
  const bool whole = reply != nullptr && XCB(xcb_get_image_data_length)(reply) == 4 * size->width * size->height;
  Image image;
  if (whole) image = ImageOfBGRX(XCB(xcb_get_image_data)(reply), size->width, size->height);
  std::free(reply);
  std::free(size);
  return image;
}

void HostWindow::Destroy() {
  if (handle_ == nullptr) return;
  XCB(xcb_destroy_window)(Connection(), Id(handle_));
  Synchronise();
  handle_ = nullptr;
}

std::vector<void*> UnusableWindows() {
  xcb_connection_t* connection = Connection();
  const uint32_t pixmap = XCB(xcb_generate_id)(connection), inputOnly = XCB(xcb_generate_id)(connection);
  XCB(xcb_create_pixmap)(connection, Screen()->root_depth, pixmap, Screen()->root, 40, 30);
  XCB(xcb_create_window)
  (connection, 0, inputOnly, Screen()->root, 0, 0, 40, 30, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0,
   nullptr);
  Synchronise();
  return {Handle(pixmap), Handle(inputOnly)};
}

}  // namespace qvg::test

#endif

namespace qvg::test {

GuardedBlock::GuardedBlock(size_t size) : size_(size), mapped_((size + 2 * kPage - 1) / kPage * kPage) {
  base_ = static_cast<uint8_t*>(MapPages(mapped_));
  Forbid(base_ + mapped_ - kPage);
  data_ = base_ + mapped_ - kPage - size;
}

GuardedBlock::~GuardedBlock() {
  if (base_ != nullptr) UnmapPages(base_, mapped_);
}

GuardedBlock::GuardedBlock(GuardedBlock&& other) noexcept
    : size_(other.size_),
      mapped_(other.mapped_),
      base_(std::exchange(other.base_, nullptr)),
      data_(std::exchange(other.data_, nullptr)) {}

}  // namespace qvg::test
