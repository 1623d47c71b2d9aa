// EGL implementation of the platform seam. Host windows are X11 windows, given as their id in a void*.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <X11/Xlib-xcb.h>
#include <X11/Xlib.h>
#include <dlfcn.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/contextState.h"
#include "base/entryPoints.h"
#include "base/gl.h"
#include "base/glContextPlatform.h"
#include "utils/format.h"
#include "utils/log.h"
#include "utils/neverDestroyed.h"

// Has the error hook of a single display; its macros must not meet the standard headers.
#include <X11/Xlibint.h>
#undef max
#undef min

namespace qvg {

struct QVGEglContextData {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;
  EGLSurface surface = EGL_NO_SURFACE;
  xcb_window_t window = XCB_WINDOW_NONE;  // the caller's; none for a hidden context
  bool ownsWindow = false;                // the surface is a hidden one of this context alone
  EGLContext shareRoot = EGL_NO_CONTEXT;
  int interval = -1;  // of swaps, as it was set; -1: the driver's own
};

namespace {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeDeleter>;

struct Version {
  EGLint major;
  EGLint minor;
};
constexpr Version kVersions[] = {{4, 6}, {4, 5}, {4, 4}, {4, 3}, {4, 2}, {4, 1}};

struct WindowSurface {
  EGLSurface surface;
  int users;
};

struct OpenedDisplay {
  EGLDisplay display = EGL_NO_DISPLAY;
  Version version = {};  // of the contexts that the display gives
  bool surfaceless = false;
  xcb_connection_t* connection = nullptr;  // to the X server, when the display is one
  Display* xlib = nullptr;                 // owns the connection where EGL wants an Xlib display
  int screen = 0;
};

struct Platform : OpenedDisplay {
  std::mutex mutex;  // serialises every creation and destruction
  std::map<xcb_window_t, WindowSurface> windowSurfaces;
  int contexts = 0;
};

// Never destroyed: contexts may outlive static objects while the process exits.
Platform& Egl() {
  static NeverDestroyed<Platform> platform;
  return platform.Get();
}

// Major version * 100 + minor version, so that both change at once.
std::atomic<int> loadedVersion = 0;

std::atomic<bool> processEnds = false;

// eglGetError() is cleared by the next call of EGL, whoever makes it.
constinit thread_local EGLint lastError = EGL_SUCCESS;

bool Check(EGLBoolean result) {
  if (result != EGL_TRUE) lastError = eglGetError();
  return result == EGL_TRUE;
}

bool Contains(const char* list, std::string_view word) {
  std::string_view rest = list == nullptr ? "" : list;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find(' '), rest.size());
    if (rest.substr(0, end) == word) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

bool ClientHas(std::string_view extension) {
  return Contains(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), extension);
}

// The core names may be missing from the loader, or answer nothing before its first display.
template <typename Function>
Function Entry(const char* name) {
  return reinterpret_cast<Function>(eglGetProcAddress(name));
}

EGLDisplay PlatformDisplay(EGLenum platform, void* native, const EGLint* attributes) {
  const auto get = Entry<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
  return get == nullptr ? EGL_NO_DISPLAY : get(platform, native, attributes);
}

// ---- Configurations and contexts

// What is asked of a configuration, the best first. On a window its visual decides the channels.
constexpr struct {
  EGLint channelBits;
  EGLint depthBits;
} kConfigs[] = {{8, 24}, {8, 0}, {0, 24}, {0, 0}};

struct WindowFormat {
  xcb_visualid_t visual;
  EGLint depth;
};

EGLint ConfigValue(EGLDisplay display, EGLConfig config, EGLint name) {
  EGLint value = 0;
  eglGetConfigAttrib(display, config, name, &value);
  return value;
}

// The configuration of the window's visual. Servers list further visuals of the same pixels for which EGL names no
// configuration: one of the window's depth serves them. Without a window: any.
EGLConfig ChooseConfig(EGLDisplay display, EGLint surfaceType, const WindowFormat* window) {
  EGLConfig sameDepth = nullptr;
  for (const auto& [channelBits, depthBits] : kConfigs) {
    const EGLint attributes[] = {
        EGL_SURFACE_TYPE, surfaceType,   EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_RED_SIZE, channelBits, EGL_GREEN_SIZE,
        channelBits,      EGL_BLUE_SIZE, channelBits,         EGL_DEPTH_SIZE, depthBits,    EGL_NONE};
    EGLint count = 0;
    if (eglChooseConfig(display, attributes, nullptr, 0, &count) != EGL_TRUE || count == 0) continue;
    std::vector<EGLConfig> configs(static_cast<size_t>(count));
    if (eglChooseConfig(display, attributes, configs.data(), count, &count) != EGL_TRUE) continue;
    configs.resize(static_cast<size_t>(count));
    if (configs.empty()) continue;
    if (window == nullptr) return configs.front();
    for (EGLConfig config : configs) {
      const auto visual = static_cast<xcb_visualid_t>(ConfigValue(display, config, EGL_NATIVE_VISUAL_ID));
      if (visual == window->visual) return config;
      const bool fits = ConfigValue(display, config, EGL_BUFFER_SIZE) == window->depth;
      if (fits && sameDepth == nullptr) sameDepth = config;
    }
  }
  return sameDepth;
}

EGLConfig ChooseHiddenConfig(const OpenedDisplay& egl) {
  return ChooseConfig(egl.display, egl.surfaceless ? 0 : EGL_PBUFFER_BIT, nullptr);
}

EGLContext CreateContext(EGLDisplay display, EGLConfig config, EGLContext shareRoot, Version version) {
  // The names of EGL 1.5 have the values of EGL_KHR_create_context.
  const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                               version.major,
                               EGL_CONTEXT_MINOR_VERSION,
                               version.minor,
                               EGL_CONTEXT_OPENGL_PROFILE_MASK,
                               EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                               EGL_NONE};
  // Which API eglCreateContext means belongs to the thread and so to the host.
  const EGLenum hostApi = eglQueryAPI();
  if (eglBindAPI(EGL_OPENGL_API) != EGL_TRUE) return EGL_NO_CONTEXT;
  const EGLContext context = eglCreateContext(display, config, shareRoot, attributes);
  // Binding the host's API again would clear it.
  if (context == EGL_NO_CONTEXT) lastError = eglGetError();
  if (hostApi != EGL_NONE && hostApi != EGL_OPENGL_API) eglBindAPI(hostApi);
  return context;
}

// ---- The display

void LogAttempt(const char* name, const std::string& reason, SourceLocation where = SourceLocation::current()) {
  LogLocated(kLogWarning, Format("glContext_egl: {}: {}", name, reason), where);
}

// Whether the display gives contexts of a version that will do. Fills in what is known of it then.
bool TryDisplay(OpenedDisplay& egl, const char* name, EGLDisplay display) {
  const auto fail = [name](const char* call, EGLint error) {
    LogAttempt(name, Format("{} failed, error {:#x}.", call, error));
    return false;
  };
  if (display == EGL_NO_DISPLAY) return fail("eglGetPlatformDisplay", eglGetError());
  EGLint major = 0;
  EGLint minor = 0;
  if (eglInitialize(display, &major, &minor) != EGL_TRUE) return fail("eglInitialize", eglGetError());
  if (!Contains(eglQueryString(display, EGL_CLIENT_APIS), "OpenGL")) {
    LogAttempt(name, "no OpenGL.");
    return false;
  }
  egl.display = display;
  egl.surfaceless = Contains(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context");
  if (const EGLConfig config = ChooseHiddenConfig(egl); config == nullptr) {
    fail("eglChooseConfig", eglGetError());
  } else {
    for (const Version version : kVersions) {
      const EGLContext context = CreateContext(display, config, EGL_NO_CONTEXT, version);
      if (context == EGL_NO_CONTEXT) continue;
      eglDestroyContext(display, context);
      egl.version = version;
      LogShort(kLogInfo, Format("glContext_egl: display: {} ({}, EGL {}.{})", name, eglQueryString(display, EGL_VENDOR),
                                major, minor));
      return true;
    }
    fail("eglCreateContext", lastError);
  }
  egl.display = EGL_NO_DISPLAY;
  return false;
}

// Swallows the X errors of the library's own Xlib display: the default handler would end the process.
int SwallowXError(Display*, xError*, XExtCodes*, int*) { return 1; }

void Disconnect(OpenedDisplay& egl) {
  if (egl.xlib != nullptr) {
    // Xlib ends the process over a server that is gone: better lose the display's memory.
    if (xcb_connection_has_error(egl.connection) == 0) XCloseDisplay(egl.xlib);
  } else if (egl.connection != nullptr) {
    xcb_disconnect(egl.connection);
  }
  egl.xlib = nullptr;
  egl.connection = nullptr;
}

// Those of all vendors, in the order in which EGL numbers them.
std::vector<EGLDeviceEXT> Devices() {
  const auto queryDevices = Entry<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
  EGLint count = 0;
  std::vector<EGLDeviceEXT> devices;
  if (ClientHas("EGL_EXT_platform_device") && queryDevices != nullptr && queryDevices(0, nullptr, &count) == EGL_TRUE &&
      count > 0) {
    devices.resize(static_cast<size_t>(count));
    if (queryDevices(count, devices.data(), &count) != EGL_TRUE) count = 0;
    devices.resize(static_cast<size_t>(count));
  }
  return devices;
}

bool IsSoftwareDevice(EGLDeviceEXT device) {
  const auto queryString = Entry<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
  return queryString != nullptr && Contains(queryString(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
}

std::vector<EGLDeviceEXT> Devices(bool software) {
  std::vector<EGLDeviceEXT> devices = Devices();
  std::erase_if(devices, [software](EGLDeviceEXT device) { return IsSoftwareDevice(device) != software; });
  return devices;
}

EGLDisplay OpenXcbDisplay(OpenedDisplay& egl) {
  egl.connection = xcb_connect(nullptr, &egl.screen);
  if (xcb_connection_has_error(egl.connection) != 0) return EGL_NO_DISPLAY;
  const EGLint attributes[] = {EGL_PLATFORM_XCB_SCREEN_EXT, egl.screen, EGL_NONE};
  return PlatformDisplay(EGL_PLATFORM_XCB_EXT, egl.connection, attributes);
}

EGLDisplay OpenXlibDisplay(OpenedDisplay& egl) {
  egl.xlib = XOpenDisplay(nullptr);
  if (egl.xlib == nullptr) return EGL_NO_DISPLAY;
  egl.connection = XGetXCBConnection(egl.xlib);
  egl.screen = XDefaultScreen(egl.xlib);
  XSetEventQueueOwner(egl.xlib, XCBOwnsEventQueue);
  if (const XExtCodes* codes = XAddExtension(egl.xlib); codes != nullptr) {
    XESetError(egl.xlib, codes->extension, &SwallowXError);
  }
  XSetIOErrorExitHandler(
      egl.xlib, [](Display*, void*) {}, nullptr);
  const EGLint attributes[] = {EGL_PLATFORM_X11_SCREEN_EXT, egl.screen, EGL_NONE};
  return PlatformDisplay(EGL_PLATFORM_X11_EXT, egl.xlib, attributes);
}

void CloseX11(OpenedDisplay& egl) {
  if (egl.display != EGL_NO_DISPLAY) eglTerminate(egl.display);
  egl.display = EGL_NO_DISPLAY;
  Disconnect(egl);
}

bool TryX11(OpenedDisplay& egl, const char* name, const char* server, EGLDisplay (*open)(OpenedDisplay&)) {
  const EGLDisplay display = open(egl);
  if (egl.connection == nullptr || xcb_connection_has_error(egl.connection) != 0) {
    LogAttempt(name, Format("no server answers at {}.", server));
  } else if (TryDisplay(egl, name, display)) {
    return true;
  }
  egl.display = display;
  CloseX11(egl);
  return false;
}

// Whether the display is known to be drawn to by the processor.
bool IsSoftware(EGLDisplay display) {
  const auto queryDisplay = Entry<PFNEGLQUERYDISPLAYATTRIBEXTPROC>("eglQueryDisplayAttribEXT");
  EGLAttrib device = 0;
  return (ClientHas("EGL_EXT_device_base") || ClientHas("EGL_EXT_device_query")) && queryDisplay != nullptr &&
         queryDisplay(display, EGL_DEVICE_EXT, &device) == EGL_TRUE &&
         IsSoftwareDevice(reinterpret_cast<EGLDeviceEXT>(device));
}

bool UseX11(Platform& egl, const char* name) {
  const char* const server = std::getenv("DISPLAY");
  if (server == nullptr || *server == '\0') {
    LogShort(kLogInfo, Format("glContext_egl: {}: DISPLAY is not set.", name));
    return false;
  }
  OpenedDisplay& opened = egl;
  if (!ClientHas("EGL_EXT_platform_xcb")) return TryX11(opened, name, server, &OpenXlibDisplay);
  const bool found = TryX11(opened, name, server, &OpenXcbDisplay);
  if ((found && !IsSoftware(opened.display)) || Devices(false).empty()) return found;
  // There is a GPU: it may be that of a vendor that knows no XCB.
  OpenedDisplay other;
  if (!TryX11(other, name, server, &OpenXlibDisplay)) return found;
  if (found && IsSoftware(other.display)) {
    CloseX11(other);
    return true;
  }
  if (found) CloseX11(opened);
  opened = other;
  return true;
}

bool UseDevice(Platform& egl, const char* name, bool software) {
  const std::vector<EGLDeviceEXT> devices = Devices(software);
  if (devices.empty()) LogShort(kLogInfo, Format("glContext_egl: {}: none found.", name));
  for (EGLDeviceEXT device : devices) {
    if (TryDisplay(egl, name, PlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr))) return true;
  }
  return false;
}

bool UseHardwareDevice(Platform& egl, const char* name) { return UseDevice(egl, name, false); }
bool UseSoftwareDevice(Platform& egl, const char* name) { return UseDevice(egl, name, true); }

bool UseNumberedDevice(Platform& egl, size_t number) {
  const std::string name = Format("device {}", number);
  const std::vector<EGLDeviceEXT> devices = Devices();
  if (number < devices.size()) {
    return TryDisplay(egl, name.c_str(), PlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[number], nullptr));
  }
  LogAttempt(name.c_str(), Format("none: EGL has {}, numbered from 0.", devices.size()));
  return false;
}

bool UseSurfaceless(Platform& egl, const char* name) {
  if (!ClientHas("EGL_MESA_platform_surfaceless")) {
    LogShort(kLogInfo, Format("glContext_egl: {}: not supported.", name));
    return false;
  }
  return TryDisplay(egl, name, PlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr));
}

struct DisplayKind {
  const char* name;
  std::string_view choice;  // what asks for it
  bool (*use)(Platform&, const char* name);
};
constexpr DisplayKind kDisplays[] = {
    {"X11", "x11", &UseX11},
    {"hardware device", "device", &UseHardwareDevice},
    {"surfaceless platform", "surfaceless", &UseSurfaceless},
    {"software device", "device", &UseSoftwareDevice},
};

// Of "device:N".
std::optional<size_t> DeviceNumber(std::string_view choice) {
  constexpr std::string_view kPrefix = "device:";
  size_t number = 0;
  if (!choice.starts_with(kPrefix)) return std::nullopt;
  const auto [end, error] = std::from_chars(choice.data() + kPrefix.size(), choice.data() + choice.size(), number);
  return error == std::errc() && end == choice.data() + choice.size() ? std::optional(number) : std::nullopt;
}

std::string_view DisplayChoice() {
  const char* const choice = std::getenv("QVG_CONTEXT");
  return choice == nullptr ? "" : choice;
}

// The displays that the user allows, one after the other.
bool UseAnyDisplay(Platform& egl) {
  const std::string_view choice = DisplayChoice();
  if (const std::optional<size_t> number = DeviceNumber(choice)) return UseNumberedDevice(egl, *number);
  const auto chosen = [choice](const DisplayKind& kind) { return kind.choice == choice; };
  const bool all = std::none_of(std::begin(kDisplays), std::end(kDisplays), chosen);
  if (all && !choice.empty()) {
    LogShort(kLogWarning, Format("glContext_egl: QVG_CONTEXT is \"{}\", expected x11, device, device:N or surfaceless. "
                                 "The usual displays are tried.",
                                 choice));
  }
  return std::any_of(std::begin(kDisplays), std::end(kDisplays),
                     [&](const DisplayKind& kind) { return (all || chosen(kind)) && kind.use(egl, kind.name); });
}

bool OpenDisplay(Platform& egl) {
  if (egl.display != EGL_NO_DISPLAY) return true;
  // Threads of the host keep state of EGL after the library is unloaded, and a display that is left open waits for its
  // next start: both need the loader to stay.
  static_cast<void>(dlopen("libEGL.so.1", RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE));
  return UseAnyDisplay(egl);
}

// ---- Windows

// Unhandled events and errors of the connection would pile up in its queue.
void DrainEvents(xcb_connection_t* connection) {
  while (Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
  }
}

// Null for a window that doesn't exist.
Reply<xcb_get_geometry_reply_t> Geometry(xcb_connection_t* connection, xcb_window_t window) {
  return Reply<xcb_get_geometry_reply_t>{
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr)};
}

EGLSurface AcquireWindowSurface(Platform& egl, xcb_window_t window, EGLConfig config) {
  const auto create = Entry<PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC>("eglCreatePlatformWindowSurfaceEXT");
  if (create == nullptr) return EGL_NO_SURFACE;
  const auto [place, added] = egl.windowSurfaces.try_emplace(window, WindowSurface{EGL_NO_SURFACE, 0});
  WindowSurface& shared = place->second;
  if (added) {
    Window xlibWindow = window;
    void* const native = egl.xlib != nullptr ? static_cast<void*>(&xlibWindow) : static_cast<void*>(&window);
    shared.surface = create(egl.display, config, native, nullptr);
    if (shared.surface == EGL_NO_SURFACE) {
      egl.windowSurfaces.erase(place);
      return EGL_NO_SURFACE;
    }
  }
  ++shared.users;
  return shared.surface;
}

void DestroySurface(Platform& egl, const QVGEglContextData& data) {
  if (data.surface == EGL_NO_SURFACE) return;
  if (!data.ownsWindow) {
    const auto found = egl.windowSurfaces.find(data.window);
    if (--found->second.users > 0) return;
    egl.windowSurfaces.erase(found);
  }
  eglDestroySurface(data.display, data.surface);
}

// Ends what a record has, as far as it was made.
struct RecordDeleter {
  void operator()(QVGEglContextData* data) const {
    if (data->context != EGL_NO_CONTEXT) {
      if (IsContextCurrent(*data)) ReleaseCurrentContext();
      ForgetContext(data->context);
      eglDestroyContext(data->display, data->context);
    }
    DestroySurface(Egl(), *data);
    delete data;
  }
};

}  // namespace

QVGContextData* _CreateDummyGLContext(void* window, bool loadEntryPoints, const QVGContextData* shareRoot) {
  Platform& egl = Egl();
  std::lock_guard lock(egl.mutex);
  const auto fail = [](const char* what, SourceLocation where = SourceLocation::current()) {
    LogLocated(kLogError, Format("glContext_egl: {}", what), where);
    return nullptr;
  };
  if (!OpenDisplay(egl)) {
    return fail(DisplayChoice().empty() ? "no EGL display gives OpenGL 4.1."
                                        : "no EGL display that QVG_CONTEXT allows gives OpenGL 4.1.");
  }

  std::unique_ptr<QVGEglContextData, RecordDeleter> data(new QVGEglContextData);
  data->display = egl.display;
  data->ownsWindow = window == nullptr;
  EGLConfig config = nullptr;
  if (window == nullptr) {
    config = ChooseHiddenConfig(egl);
  } else {
    if (egl.connection == nullptr) return fail("a context on a window needs an X11 display.");
    DrainEvents(egl.connection);
    data->window = static_cast<xcb_window_t>(reinterpret_cast<uintptr_t>(window));
    const Reply<xcb_get_window_attributes_reply_t> attributes{xcb_get_window_attributes_reply(
        egl.connection, xcb_get_window_attributes(egl.connection, data->window), nullptr)};
    if (attributes == nullptr) return fail("xcb_get_window_attributes failed.");
    if (attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY) return fail("the window is for input only.");
    const Reply<xcb_get_geometry_reply_t> geometry = Geometry(egl.connection, data->window);
    if (geometry == nullptr) return fail("xcb_get_geometry failed.");
    const WindowFormat format{attributes->visual, geometry->depth};
    config = ChooseConfig(egl.display, EGL_WINDOW_BIT, &format);
  }
  if (config == nullptr) return fail("eglChooseConfig failed.");

  if (shareRoot != nullptr) data->shareRoot = shareRoot->context;
  data->context = CreateContext(egl.display, config, data->shareRoot, egl.version);
  if (data->context == EGL_NO_CONTEXT) return fail("eglCreateContext failed.");
  if (window != nullptr) {
    data->surface = AcquireWindowSurface(egl, data->window, config);
  } else if (!egl.surfaceless) {
    const EGLint attributes[] = {EGL_WIDTH, 2, EGL_HEIGHT, 2, EGL_NONE};
    data->surface = eglCreatePbufferSurface(egl.display, config, attributes);
  }
  if (data->surface == EGL_NO_SURFACE && (window != nullptr || !egl.surfaceless)) {
    return fail(window != nullptr ? "eglCreatePlatformWindowSurface failed." : "eglCreatePbufferSurface failed.");
  }

  if (loadEntryPoints) {
    const ContextBinding previous = CurrentBinding();
    int version = 0;
    if (MakeContextCurrent(*data)) {
      const auto find = [](void*, const char* name) { return reinterpret_cast<GLADapiproc>(eglGetProcAddress(name)); };
      version = LoadEntryPoints(find, nullptr);
    }
    RestoreBinding(previous);
    if (version == 0) return fail("loading the OpenGL entry points failed.");
    loadedVersion = GLAD_VERSION_MAJOR(version) * 100 + GLAD_VERSION_MINOR(version);
  }
  RegisterContext(data->context);
  ++egl.contexts;
  return data.release();
}

bool ShareContexts(const QVGContextData& main, const QVGContextData& shared) {
  return main.context != EGL_NO_CONTEXT && shared.shareRoot == main.context;
}

void DestroyContextData(QVGContextData* data) {
  if (data == nullptr) return;
  Platform& egl = Egl();
  std::lock_guard lock(egl.mutex);
  RecordDeleter()(data);
  --egl.contexts;
}

bool HasGLContext(const QVGContextData& data) { return data.context != EGL_NO_CONTEXT; }

const void* NativeContext(const QVGContextData& data) { return data.context; }

// eglGetCurrentContext and eglMakeCurrent take OpenGL and OpenGL ES for one API, so that they don't depend on the one
// that the host has bound on the thread.
bool IsContextCurrent(const QVGContextData& data) {
  return data.context != EGL_NO_CONTEXT && eglGetCurrentContext() == data.context;
}

bool MakeContextCurrent(const QVGContextData& data) {
  return Check(eglMakeCurrent(data.display, data.surface, data.surface, data.context));
}

bool ReleaseCurrentContext() {
  if (eglGetCurrentContext() == EGL_NO_CONTEXT) return true;
  return Check(eglMakeCurrent(eglGetCurrentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT));
}

bool IsHidden(const QVGContextData& data) { return data.ownsWindow; }

bool IsWindowValid(const QVGContextData& data) {
  if (data.ownsWindow) return true;
  xcb_connection_t* const connection = Egl().connection;
  const bool valid = Geometry(connection, data.window) != nullptr;
  DrainEvents(connection);
  return valid;
}

bool SwapContextBuffers(QVGContextData& data, int interval) {
  // A hidden context has nothing to show. On a window that is gone the driver may wait for an answer for ever.
  if (data.ownsWindow) return true;
  if (!IsWindowValid(data)) return false;
  const auto swap = [&] {
    if (data.interval != interval && eglSwapInterval(data.display, interval) == EGL_TRUE) data.interval = interval;
    return Check(eglSwapBuffers(data.display, data.surface));
  };
  if (eglGetCurrentSurface(EGL_DRAW) == data.surface) return swap();
  // EGL swaps only what is current on the calling thread.
  const ContextBinding previous = CurrentBinding();
  if (!MakeContextCurrent(data)) return false;
  const bool swapped = swap();
  RestoreBinding(previous);
  return swapped;
}

uint32_t LastContextError() { return static_cast<uint32_t>(lastError); }

ContextBinding CurrentBinding() {
  return {eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW), eglGetCurrentSurface(EGL_READ),
          eglGetCurrentContext()};
}

void* CurrentNativeContext() { return eglGetCurrentContext(); }

void RestoreBinding(const ContextBinding& binding) {
  if (binding.context == nullptr) {
    ReleaseCurrentContext();
  } else if (binding.context != eglGetCurrentContext()) {
    Check(eglMakeCurrent(binding.display, binding.drawSurface, binding.readSurface, binding.context));
  }
}

void LoadedGLVersion(int32_t* major, int32_t* minor) {
  const int version = loadedVersion;
  *major = version / 100;
  *minor = version % 100;
}

void ShutdownContextPlatform() {
  Platform& egl = Egl();
  std::lock_guard lock(egl.mutex);
  if (egl.contexts > 0 || egl.display == EGL_NO_DISPLAY) return;
  // The display of a connection of our own is ours. Of every other kind there is one a process, which the host may be
  // using: it stays open.
  if (egl.connection != nullptr) eglTerminate(egl.display);
  egl.display = EGL_NO_DISPLAY;
  Disconnect(egl);
}

void AtProcessExit(void (*handler)()) {
  static std::atomic<void (*)()> registered = nullptr;
  registered = handler;
  static_cast<void>(std::atexit([] {
    processEnds = true;
    registered.load()();
  }));
}

bool ProcessIsEnding() { return processEnds; }

void* PinLibrary() {
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(&PinLibrary), &info) == 0) return nullptr;
  return dlopen(info.dli_fname, RTLD_NOLOAD | RTLD_NOW);
}

void UnpinLibrary(void* pin) {
  if (pin != nullptr) dlclose(pin);
}

}  // namespace qvg
