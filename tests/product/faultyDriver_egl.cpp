// Preloaded into a program, gives the driver one fault, named by QVG_TEST_FAULT in the environment.
#include <EGL/egl.h>
#include <dlfcn.h>

#include <cstdlib>
#include <string_view>

namespace {

using Function = __eglMustCastToProperFunctionPointerType;

constexpr unsigned kDepthTest = 0x0B71, kPackRowLength = 0x0D02, kSwizzleRGBA = 0x8E46;

template <typename Type = Function>
Type RealFunction(const char* name) {
  static const auto find = reinterpret_cast<Function (*)(const char*)>(dlsym(RTLD_NEXT, "eglGetProcAddress"));
  return reinterpret_cast<Type>(find(name));
}

// Rows are always packed without padding.
void PixelStorei(unsigned name, int value) {
  if (name != kPackRowLength) RealFunction<void (*)(unsigned, int)>("glPixelStorei")(name, value);
}

// Channels are sampled in the order in which they are stored.
void TexParameteriv(unsigned target, unsigned name, const int* values) {
  if (name == kSwizzleRGBA) return;
  RealFunction<void (*)(unsigned, unsigned, const int*)>("glTexParameteriv")(target, name, values);
}

// The process ends with the first depth test.
void Enable(unsigned capability) {
  if (capability == kDepthTest) std::abort();
  RealFunction<void (*)(unsigned)>("glEnable")(capability);
}

struct Fault {
  std::string_view fault, name;
  Function function;
};
const Fault kFaults[] = {{"rows", "glPixelStorei", reinterpret_cast<Function>(PixelStorei)},
                         {"order", "glTexParameteriv", reinterpret_cast<Function>(TexParameteriv)},
                         {"crash", "glEnable", reinterpret_cast<Function>(Enable)}};

}  // namespace

extern "C" __attribute__((visibility("default"))) Function eglGetProcAddress(const char* name) {
  const char* const wanted = std::getenv("QVG_TEST_FAULT");
  for (const Fault& fault : kFaults)
    if (wanted != nullptr && fault.fault == wanted && fault.name == name) return fault.function;
  return RealFunction(name);
}
