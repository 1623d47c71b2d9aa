#include "platform.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <xcb/xcb.h>

#include <cstdlib>

namespace qvg::test {
namespace {

template <typename Function>
Function Symbol(const char* library, const char* name) {
  void* handle = dlopen(library, RTLD_NOW);
  return handle == nullptr ? nullptr : reinterpret_cast<Function>(dlsym(handle, name));
}

#define XCB(name) Symbol<decltype(&name)>("libxcb.so.1", #name)

// A connection of the tests' own, as a host would have; null without an X server.
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

// Waits until the server has processed all requests.
void Synchronise() {
  const auto cookie = XCB(xcb_get_input_focus)(Connection());
  std::free(XCB(xcb_get_input_focus_reply)(Connection(), cookie, nullptr));
}

}  // namespace

void* GLFunction(const char* name) {
  using GetProc = void* (*)(const char*);
  // The function that the library calls, which may be the program's.
  static const auto getProc = reinterpret_cast<GetProc>(dlsym(RTLD_DEFAULT, "eglGetProcAddress"));
  return getProc == nullptr ? nullptr : getProc(name);
}

bool HostWindow::Available() { return Connection() != nullptr; }

HostWindow::HostWindow(int width, int height, int x, int y) {
  if (!Available()) return;
  xcb_connection_t* connection = Connection();
  const uint32_t window = XCB(xcb_generate_id)(connection);
  // Keeps window managers from changing its size or place.
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

void* GuardedBlock::_MapPages(size_t size) {
  return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

void GuardedBlock::_Forbid(void* page) { mprotect(page, kPage, PROT_NONE); }

void GuardedBlock::_UnmapPages(void* base, size_t size) { munmap(base, size); }

}  // namespace qvg::test
