#include "platform.h"

#include <windows.h>

namespace qvg::test {
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

// From the screen: a window's own device context doesn't see what GL shows in it.
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

void* GuardedBlock::_MapPages(size_t size) {
  return VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
}

void GuardedBlock::_Forbid(void* page) {
  DWORD old = 0;
  VirtualProtect(page, kPage, PAGE_NOACCESS, &old);
}

void GuardedBlock::_UnmapPages(void* base, size_t /*size*/) { VirtualFree(base, 0, MEM_RELEASE); }

}  // namespace qvg::test
