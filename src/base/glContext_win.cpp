// WGL implementation of the platform seam.

#include <windows.h>

#include <glad/wgl.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>

#include "base/contextState.h"
#include "base/entryPoints.h"
#include "base/gl.h"
#include "base/glContextPlatform.h"
#include "utils/log.h"
#include "utils/neverDestroyed.h"

namespace qvg {

struct QVGWinContextData {
  HDC hdc = nullptr;
  HGLRC hglrc = nullptr;
  HWND hwnd = nullptr;
  bool ownsWindow = false;
  int interval = -1;  // of swaps, as it was set; -1: the driver's own
};

namespace {

constexpr char kClassName[] = "GLDummyWnd";

// Windows destroys a window with the thread that made it. Hidden windows live on this thread, which does nothing but
// serve them, so that they outlive whichever thread of the host happened to ask for a context.
class WindowThread {
 public:
  HWND Create(HINSTANCE instance) {
    if (handle_ == nullptr && !Start()) return nullptr;
    Request request{instance, nullptr};
    Send(kCreate, request);
    return request.window;
  }

  void Destroy(HWND window) {
    Request request{nullptr, window};
    Send(kDestroy, request);
  }

  void Stop() {
    if (handle_ == nullptr) return;
    PostThreadMessageW(id_, WM_QUIT, 0, 0);
    WaitForSingleObject(handle_, INFINITE);
    CloseHandle(handle_);
    CloseHandle(served_);
    handle_ = nullptr;
    served_ = nullptr;
  }

 private:
  enum Message : UINT { kCreate = WM_APP, kDestroy };
  struct Request {
    HINSTANCE instance;
    HWND window;
  };

  bool Start() {
    served_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (served_ == nullptr) return false;
    // A host may unload the library without ever releasing it: the code of a running thread has to stay.
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Serve), &module_);
    handle_ = CreateThread(nullptr, 0, &Serve, this, 0, &id_);
    if (handle_ == nullptr) {
      FreeLibrary(module_);
      CloseHandle(served_);
      served_ = nullptr;
      return false;
    }
    WaitForSingleObject(served_, INFINITE);
    return true;
  }

  void Send(Message message, Request& request) {
    if (PostThreadMessageW(id_, message, 0, reinterpret_cast<LPARAM>(&request)) == FALSE) return;
    WaitForSingleObject(served_, INFINITE);
  }

  static DWORD WINAPI Serve(void* argument) {
    WindowThread& self = *static_cast<WindowThread*>(argument);
    const HMODULE module = self.module_;
    MSG message;
    // Makes the thread's message queue.
    PeekMessageW(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    SetEvent(self.served_);
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      if (message.hwnd != nullptr || (message.message != kCreate && message.message != kDestroy)) {
        DispatchMessageW(&message);
        continue;
      }
      Request& request = *reinterpret_cast<Request*>(message.lParam);
      if (message.message == kCreate) {
        request.window = CreateWindowExA(0, kClassName, "Dummy GL Window", WS_POPUP, 0, 0, 2, 2, nullptr, nullptr,
                                         request.instance, nullptr);
      } else {
        DestroyWindow(request.window);
      }
      SetEvent(self.served_);
    }
    FreeLibraryAndExitThread(module, 0);
  }

  HANDLE handle_ = nullptr;
  HANDLE served_ = nullptr;
  HMODULE module_ = nullptr;
  DWORD id_ = 0;
};

struct Platform {
  std::mutex mutex;  // serialises every creation and destruction
  bool classRegistered = false;
  HINSTANCE instance = nullptr;
  WindowThread windows;
  int contexts = 0;
};

// Never destroyed: contexts may outlive static objects while the process exits.
Platform& Win() {
  static NeverDestroyed<Platform> platform;
  return platform.Get();
}

// Major version * 100 + minor version, so that both change at once.
std::atomic<int> loadedVersion = 0;

bool RegisterWindowClass(Platform& win) {
  if (win.classRegistered) return true;
  win.instance = GetModuleHandleW(nullptr);
  WNDCLASSA windowClass{};
  windowClass.style = CS_OWNDC;
  windowClass.lpfnWndProc = DefWindowProcW;
  windowClass.hInstance = win.instance;
  windowClass.lpszClassName = kClassName;
  // The class belongs to the program and may be there still from a copy of the library that was unloaded.
  win.classRegistered = RegisterClassA(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
  return win.classRegistered;
}

// Why no context could be made on the device context, or null.
const char* CreateContext(HDC hdc, HGLRC* hglrc) {
  PIXELFORMATDESCRIPTOR descriptor{};
  descriptor.nSize = sizeof descriptor;
  descriptor.nVersion = 1;
  descriptor.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  descriptor.iPixelType = PFD_TYPE_RGBA;
  descriptor.cColorBits = 32;
  descriptor.cDepthBits = 24;
  descriptor.iLayerType = PFD_MAIN_PLANE;
  const int format = ChoosePixelFormat(hdc, &descriptor);
  if (format == 0) return "glContext_win:ChoosePixelFormat failed.";
  if (SetPixelFormat(hdc, format, &descriptor) == FALSE) return "glContext_win:SetPixelFormat failed.";
  *hglrc = wglCreateContext(hdc);
  return *hglrc == nullptr ? "glContext_win:wglCreateContext failed." : nullptr;
}

// GL 1.1 is exported by the library itself; some drivers answer small numbers for what they don't know.
GLADapiproc EntryPoint(void* opengl32, const char* name) {
  const PROC entry = wglGetProcAddress(name);
  const auto value = reinterpret_cast<intptr_t>(entry);
  if (value < -1 || value > 3) return reinterpret_cast<GLADapiproc>(entry);
  return reinterpret_cast<GLADapiproc>(GetProcAddress(static_cast<HMODULE>(opengl32), name));
}

// The version that was found; 0: none.
int LoadOn(const QVGWinContextData& data) {
  const HMODULE opengl32 = LoadLibraryW(L"opengl32.dll");
  const ContextBinding previous = CurrentBinding();
  int version = 0;
  if (wglMakeCurrent(data.hdc, data.hglrc) != FALSE) {
    gladLoadWGLUserPtr(data.hdc, &EntryPoint, opengl32);
    version = LoadEntryPoints(&EntryPoint, opengl32);
  }
  RestoreBinding(previous);
  // The library links to it, so that it stays.
  if (opengl32 != nullptr) FreeLibrary(opengl32);
  return version;
}

// The steps of destruction that come before the record's own memory is freed.
void DestroyRecord(Platform& win, QVGWinContextData& data) {
  if (IsContextCurrent(data)) wglMakeCurrent(data.hdc, nullptr);
  if (data.hglrc != nullptr) {
    ForgetContext(data.hglrc);
    wglDeleteContext(data.hglrc);
  }
  if (data.hdc != nullptr) ReleaseDC(data.hwnd, data.hdc);
  if (data.ownsWindow && data.hwnd != nullptr) win.windows.Destroy(data.hwnd);
}

// There is nothing to choose from here.
void WarnOfOtherChoices() {
  const char* const choice = std::getenv("QVG_CONTEXT");
  if (choice == nullptr || *choice == '\0' || std::strcmp(choice, "wgl") == 0) return;
  LogShort(kLogWarning, "glContext_win: QVG_CONTEXT names something other than wgl, which is used.");
}

}  // namespace

QVGContextData* _CreateDummyGLContext(void* window, bool loadEntryPoints, const QVGContextData* /*shareRoot*/) {
  if (loadEntryPoints) WarnOfOtherChoices();
  Platform& win = Win();
  std::lock_guard lock(win.mutex);
  const auto end = [&win](QVGWinContextData* record) {
    DestroyRecord(win, *record);
    delete record;
  };
  std::unique_ptr<QVGWinContextData, decltype(end)> data(new QVGWinContextData, end);
  const auto fail = [](const char* message, SourceLocation where = SourceLocation::current()) {
    LogLocated(kLogError, message, where);
    return nullptr;
  };
  if (!RegisterWindowClass(win)) return fail("glContext_win: register dummy window class failed.");
  data->ownsWindow = window == nullptr;
  data->hwnd = window == nullptr ? win.windows.Create(win.instance) : static_cast<HWND>(window);
  if (data->hwnd == nullptr) return fail("glContext_win: create dummy window failed.");
  data->hdc = GetDC(data->hwnd);
  if (data->hdc == nullptr) return fail("glContext_win: GetDC from dummy window failed.");
  if (const char* const error = CreateContext(data->hdc, &data->hglrc); error != nullptr) return fail(error);
  RegisterContext(data->hglrc);
  if (loadEntryPoints) {
    const int version = LoadOn(*data);
    if (version == 0) return fail("glContext_win: loading the OpenGL entry points failed.");
    loadedVersion = GLAD_VERSION_MAJOR(version) * 100 + GLAD_VERSION_MINOR(version);
  }
  ++win.contexts;
  return data.release();
}

bool ShareContexts(const QVGContextData& main, const QVGContextData& shared) {
  return wglShareLists(main.hglrc, shared.hglrc) != FALSE;
}

void DestroyContextData(QVGContextData* data) {
  if (data == nullptr) return;
  Platform& win = Win();
  std::lock_guard lock(win.mutex);
  DestroyRecord(win, *data);
  delete data;
  --win.contexts;
}

bool HasGLContext(const QVGContextData& data) { return data.hglrc != nullptr; }

const void* NativeContext(const QVGContextData& data) { return data.hglrc; }

bool IsContextCurrent(const QVGContextData& data) {
  return data.hglrc != nullptr && wglGetCurrentContext() == data.hglrc;
}

bool MakeContextCurrent(const QVGContextData& data) { return wglMakeCurrent(data.hdc, data.hglrc) != FALSE; }

bool ReleaseCurrentContext() { return wglMakeCurrent(wglGetCurrentDC(), nullptr) != FALSE; }

bool IsHidden(const QVGContextData& data) { return data.ownsWindow; }

bool IsWindowValid(const QVGContextData& data) {
  const HDC hdc = data.hwnd == nullptr ? nullptr : GetDC(data.hwnd);
  if (hdc != nullptr) ReleaseDC(data.hwnd, hdc);
  return hdc != nullptr;
}

bool SwapContextBuffers(QVGContextData& data, int interval) {
  if (data.hdc == nullptr) return false;
  if (data.interval != interval && IsContextCurrent(data)) {
    using SetInterval = BOOL(WINAPI*)(int);
    const PROC entry = wglGetProcAddress("wglSwapIntervalEXT");
    if (entry != nullptr) reinterpret_cast<SetInterval>(reinterpret_cast<void*>(entry))(interval);
    data.interval = interval;
  }
  return ::SwapBuffers(data.hdc) != FALSE;
}

uint32_t LastContextError() { return GetLastError(); }

ContextBinding CurrentBinding() { return {nullptr, wglGetCurrentDC(), nullptr, wglGetCurrentContext()}; }

void* CurrentNativeContext() { return wglGetCurrentContext(); }

void RestoreBinding(const ContextBinding& binding) {
  if (binding.context == wglGetCurrentContext()) return;
  wglMakeCurrent(static_cast<HDC>(binding.drawSurface), static_cast<HGLRC>(binding.context));
}

void LoadedGLVersion(int32_t* major, int32_t* minor) {
  const int version = loadedVersion;
  *major = version / 100;
  *minor = version % 100;
}

void ShutdownContextPlatform() {
  Platform& win = Win();
  std::lock_guard lock(win.mutex);
  if (win.contexts > 0) return;
  win.windows.Stop();
  if (win.classRegistered) UnregisterClassA(kClassName, win.instance);
  win.classRegistered = false;
}

// Windows ends all threads but one before anything else happens: there is nobody to wait for.
void AtProcessExit(void (*)()) {}

bool ProcessIsEnding() {
  using Asked = BOOLEAN(NTAPI*)();
  static const auto asked = reinterpret_cast<Asked>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
  return asked != nullptr && asked() != FALSE;
}

void* PinLibrary() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&PinLibrary), &module);
  return module;
}

void UnpinLibrary(void* pin) {
  if (pin != nullptr) FreeLibrary(static_cast<HMODULE>(pin));
}

}  // namespace qvg
