#include "platform.h"

#include <utility>

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

HostWindow::HostWindow(int width, int height) {
  static const ATOM windowClass = [] {
    WNDCLASSA description = {};
    description.style = CS_OWNDC;
    description.lpfnWndProc = DefWindowProcA;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = "QVGTestWindow";
    return RegisterClassA(&description);
  }();
  if (windowClass == 0) return;
  handle_ = CreateWindowExA(0, "QVGTestWindow", "test", WS_POPUP | WS_VISIBLE, 0, 0, width, height, nullptr, nullptr,
                            GetModuleHandleA(nullptr), nullptr);
}

void HostWindow::Destroy() {
  if (handle_ != nullptr) DestroyWindow(static_cast<HWND>(handle_));
  handle_ = nullptr;
}

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

// Waits until the server has done what was asked.
void Synchronise() {
  const auto cookie = XCB(xcb_get_input_focus)(Connection());
  std::free(XCB(xcb_get_input_focus_reply)(Connection(), cookie, nullptr));
}

}  // namespace

void* GLFunction(const char* name) {
  using GetProc = void* (*)(const char*);
  static const auto getProc = Symbol<GetProc>("libEGL.so.1", "eglGetProcAddress");
  return getProc == nullptr ? nullptr : getProc(name);
}

bool HostWindow::Available() { return Connection() != nullptr; }

HostWindow::HostWindow(int width, int height) {
  if (!Available()) return;
  xcb_connection_t* connection = Connection();
  xcb_screen_t* screen = XCB(xcb_setup_roots_iterator)(XCB(xcb_get_setup)(connection)).data;
  const uint32_t window = XCB(xcb_generate_id)(connection);
  XCB(xcb_create_window)
  (connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, static_cast<uint16_t>(width),
   static_cast<uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
  XCB(xcb_map_window)(connection, window);
  Synchronise();
  handle_ = reinterpret_cast<void*>(static_cast<uintptr_t>(window));
}

void HostWindow::Destroy() {
  if (handle_ == nullptr) return;
  XCB(xcb_destroy_window)(Connection(), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle_)));
  Synchronise();
  handle_ = nullptr;
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
