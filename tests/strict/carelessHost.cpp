// A host that leaves whatever it last used on the library's contexts: before each slot that may work there all state
// that drawing and transfers know is set to something else, and afterwards it is the test's again.
#include <algorithm>
#include <array>
#include <iterator>

#include "base/contextState.h"
#include "driverMode.h"
#include "qvGLRenderer/qvGLRenderer.h"
#include "rawCall.h"

extern "C" const QVGGLRendererInterface* __real_QVG_GetGLRendererInterface(const QVGConfig* config);
extern "C" const QVGGLRendererInterface* __wrap_QVG_GetGLRendererInterface(const QVGConfig* config);

namespace qvg::test {
namespace {

constexpr GLenum kEnabled[] = {GL_BLEND,
                               GL_SCISSOR_TEST,
                               GL_CULL_FACE,
                               GL_COLOR_LOGIC_OP,
                               GL_RASTERIZER_DISCARD,
                               GL_DEPTH_TEST,
                               GL_STENCIL_TEST,
                               GL_PRIMITIVE_RESTART,
                               GL_SAMPLE_MASK,
                               GL_SAMPLE_COVERAGE,
                               GL_SAMPLE_ALPHA_TO_COVERAGE,
                               GL_FRAMEBUFFER_SRGB,
                               GL_DEPTH_CLAMP,
                               GL_POLYGON_OFFSET_FILL};

constexpr struct {
  GLenum state;
  GLint value;
} kStored[] = {{GL_UNPACK_ALIGNMENT, 8}, {GL_UNPACK_ROW_LENGTH, 5}, {GL_UNPACK_SKIP_PIXELS, 3},
               {GL_UNPACK_SKIP_ROWS, 2}, {GL_UNPACK_SWAP_BYTES, 1}, {GL_PACK_ALIGNMENT, 8},
               {GL_PACK_ROW_LENGTH, 5},  {GL_PACK_SKIP_PIXELS, 3},  {GL_PACK_SKIP_ROWS, 2},
               {GL_PACK_SWAP_BYTES, 1}};

constexpr GLuint kUnits = 8;

/// What has no flag of its own.
struct DrawState {
  GLint blend[4], equation[2], scissor[4], viewport[4], cullFace, logicOp, polygonMode[2], depthFunc, stencil[3];
  GLint restartIndex, activeUnit;
  GLboolean colorMask[4], depthMask;
  GLfloat clearColor[4], clearDepth, depthRange[2];

  static DrawState Get() {
    DrawState s = {};
    const GLenum blends[] = {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA};
    std::transform(std::begin(blends), std::end(blends), s.blend, &RawInteger);
    const GLenum stencils[] = {GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK};
    std::transform(std::begin(stencils), std::end(stencils), s.stencil, &RawInteger);
    s.equation[0] = RawInteger(GL_BLEND_EQUATION_RGB);
    s.equation[1] = RawInteger(GL_BLEND_EQUATION_ALPHA);
    QVG_RAW(GetIntegerv)(GL_SCISSOR_BOX, s.scissor);
    QVG_RAW(GetIntegerv)(GL_VIEWPORT, s.viewport);
    s.cullFace = RawInteger(GL_CULL_FACE_MODE);
    s.logicOp = RawInteger(GL_LOGIC_OP_MODE);
    QVG_RAW(GetIntegerv)(GL_POLYGON_MODE, s.polygonMode);
    s.depthFunc = RawInteger(GL_DEPTH_FUNC);
    s.restartIndex = RawInteger(GL_PRIMITIVE_RESTART_INDEX);
    s.activeUnit = RawInteger(GL_ACTIVE_TEXTURE);
    QVG_RAW(GetBooleanv)(GL_COLOR_WRITEMASK, s.colorMask);
    QVG_RAW(GetBooleanv)(GL_DEPTH_WRITEMASK, &s.depthMask);
    QVG_RAW(GetFloatv)(GL_COLOR_CLEAR_VALUE, s.clearColor);
    QVG_RAW(GetFloatv)(GL_DEPTH_CLEAR_VALUE, &s.clearDepth);
    QVG_RAW(GetFloatv)(GL_DEPTH_RANGE, s.depthRange);
    return s;
  }

  static DrawState Careless() {
    return {{GL_DST_COLOR, GL_ONE, GL_DST_ALPHA, GL_ONE},
            {GL_FUNC_REVERSE_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT},
            {0, 0, 1, 1},
            {1, 1, 2, 2},
            GL_FRONT_AND_BACK,
            GL_INVERT,
            {GL_LINE, GL_LINE},
            GL_NEVER,
            {GL_NEVER, 0, -1},
            0,
            GL_TEXTURE7,
            {GL_FALSE, GL_TRUE, GL_FALSE, GL_FALSE},
            GL_FALSE,
            {0.7f, 0.1f, 0.3f, 0.2f},
            0,
            {1, 0.5f}};
  }

  void Set() const {
    const auto name = [](GLint value) { return static_cast<GLenum>(value); };
    QVG_RAW(BlendFuncSeparate)(name(blend[0]), name(blend[1]), name(blend[2]), name(blend[3]));
    QVG_RAW(BlendEquationSeparate)(name(equation[0]), name(equation[1]));
    QVG_RAW(Scissor)(scissor[0], scissor[1], scissor[2], scissor[3]);
    QVG_RAW(Viewport)(viewport[0], viewport[1], viewport[2], viewport[3]);
    QVG_RAW(CullFace)(name(cullFace));
    QVG_RAW(LogicOp)(name(logicOp));
    QVG_RAW(PolygonMode)(GL_FRONT_AND_BACK, name(polygonMode[0]));
    QVG_RAW(DepthFunc)(name(depthFunc));
    QVG_RAW(StencilFunc)(name(stencil[0]), stencil[1], static_cast<GLuint>(stencil[2]));
    QVG_RAW(PrimitiveRestartIndex)(static_cast<GLuint>(restartIndex));
    QVG_RAW(ActiveTexture)(name(activeUnit));
    QVG_RAW(ColorMask)(colorMask[0], colorMask[1], colorMask[2], colorMask[3]);
    QVG_RAW(DepthMask)(depthMask);
    QVG_RAW(ClearColor)(clearColor[0], clearColor[1], clearColor[2], clearColor[3]);
    QVG_RAW(ClearDepth)(clearDepth);
    QVG_RAW(DepthRange)(depthRange[0], depthRange[1]);
  }
};

/// What is bound, by objects of the host's that live for the length of a slot.
class Bindings {
 public:
  Bindings() {
    QVG_RAW(GenVertexArrays)(1, &vertexArray_);
    QVG_RAW(BindVertexArray)(vertexArray_);
    QVG_RAW(EnableVertexAttribArray)(3);
    QVG_RAW(GenFramebuffers)(1, &frameBuffer_);
    QVG_RAW(BindFramebuffer)(GL_FRAMEBUFFER, frameBuffer_);
    QVG_RAW(GenBuffers)(1, &buffer_);
    for (const auto& [target, binding] : kBuffers) QVG_RAW(BindBuffer)(target, buffer_);
    QVG_RAW(BufferData)(GL_ARRAY_BUFFER, 1 << 16, nullptr, GL_STATIC_DRAW);
    QVG_RAW(GenSamplers)(1, &sampler_);  // asks for mipmaps, which no texture here has
    for (GLuint unit = 0; unit < kUnits; ++unit) QVG_RAW(BindSampler)(unit, sampler_);
  }
  ~Bindings() {
    const auto is = [](auto check, GLint name) { return check(static_cast<GLuint>(name)) ? GLuint(name) : 0u; };
    QVG_RAW(DeleteVertexArrays)(1, &vertexArray_);
    QVG_RAW(DeleteFramebuffers)(1, &frameBuffer_);
    QVG_RAW(DeleteBuffers)(1, &buffer_);
    QVG_RAW(DeleteSamplers)(1, &sampler_);
    QVG_RAW(BindVertexArray)(is(QVG_RAW(IsVertexArray), vertexArrayBefore_));
    QVG_RAW(BindFramebuffer)(GL_DRAW_FRAMEBUFFER, is(QVG_RAW(IsFramebuffer), drawnBefore_));
    QVG_RAW(BindFramebuffer)(GL_READ_FRAMEBUFFER, is(QVG_RAW(IsFramebuffer), readBefore_));
    for (size_t i = 0; i < std::size(kBuffers); ++i) {
      QVG_RAW(BindBuffer)(kBuffers[i].target, is(QVG_RAW(IsBuffer), buffersBefore_[i]));
    }
  }
  Bindings(const Bindings&) = delete;
  Bindings& operator=(const Bindings&) = delete;

 private:
  static constexpr struct {
    GLenum target, binding;
  } kBuffers[] = {{GL_ARRAY_BUFFER, GL_ARRAY_BUFFER_BINDING},
                  {GL_PIXEL_PACK_BUFFER, GL_PIXEL_PACK_BUFFER_BINDING},
                  {GL_PIXEL_UNPACK_BUFFER, GL_PIXEL_UNPACK_BUFFER_BINDING}};

  const GLint vertexArrayBefore_ = RawInteger(GL_VERTEX_ARRAY_BINDING);
  const GLint drawnBefore_ = RawInteger(GL_DRAW_FRAMEBUFFER_BINDING);
  const GLint readBefore_ = RawInteger(GL_READ_FRAMEBUFFER_BINDING);
  const std::array<GLint, 3> buffersBefore_ = {RawInteger(kBuffers[0].binding), RawInteger(kBuffers[1].binding),
                                               RawInteger(kBuffers[2].binding)};
  GLuint vertexArray_ = 0, frameBuffer_ = 0, buffer_ = 0, sampler_ = 0;
};

class Carelessness {
 public:
  Carelessness() {
    for (size_t i = 0; i < enabledBefore_.size(); ++i) {
      enabledBefore_[i] = QVG_RAW(IsEnabled)(kEnabled[i]);
      QVG_RAW(Enable)(kEnabled[i]);
    }
    for (size_t i = 0; i < storedBefore_.size(); ++i) {
      storedBefore_[i] = RawInteger(kStored[i].state);
      QVG_RAW(PixelStorei)(kStored[i].state, kStored[i].value);
    }
    DrawState::Careless().Set();
  }
  ~Carelessness() {
    for (size_t i = 0; i < enabledBefore_.size(); ++i) {
      enabledBefore_[i] != GL_FALSE ? QVG_RAW(Enable)(kEnabled[i]) : QVG_RAW(Disable)(kEnabled[i]);
    }
    for (size_t i = 0; i < storedBefore_.size(); ++i) QVG_RAW(PixelStorei)(kStored[i].state, storedBefore_[i]);
    drawBefore_.Set();
  }
  Carelessness(const Carelessness&) = delete;
  Carelessness& operator=(const Carelessness&) = delete;

 private:
  std::array<GLboolean, std::size(kEnabled)> enabledBefore_;
  std::array<GLint, std::size(kStored)> storedBefore_;
  const DrawState drawBefore_ = DrawState::Get();
  const Bindings bindings_;
};

const QVGGLRendererInterface* table = nullptr;

/// A slot on a context that was left so.
template <auto kSlot>
struct Careless;
template <class Result, class... Arguments, Result (*QVGGLRendererInterface::*kSlot)(Arguments...)>
struct Careless<kSlot> {
  static Result Run(Arguments... arguments) {
    if (CurrentContext() == nullptr) return (table->*kSlot)(arguments...);
    const Carelessness carelessness;
    return (table->*kSlot)(arguments...);
  }
};

const QVGGLRendererInterface* CarelessTable() {
  static QVGGLRendererInterface careless;
  careless = *table;
#define QVG_CARELESS(slot) careless.slot = &Careless<&QVGGLRendererInterface::slot>::Run;
  QVG_CARELESS(PreallocateTextures)
  QVG_CARELESS(ClearTexturePool)
  QVG_CARELESS(PreallocateRenderBuffers)
  QVG_CARELESS(ClearRenderBufferPool)
  QVG_CARELESS(PreallocatePixelBuffers)
  QVG_CARELESS(ClearPixelBufferPool)
  QVG_CARELESS(CloneTexture)
  QVG_CARELESS(SetTextureChannelOrder)
  QVG_CARELESS(AcquireTexture)
  QVG_CARELESS(UploadPixelBufferToNewTexture)
  QVG_CARELESS(UploadPixelBufferToTexture)
  QVG_CARELESS(ClearTexture)
  QVG_CARELESS(TextureToYUV420PixelBuffer)
  QVG_CARELESS(TextureToNV12PixelBuffer)
  QVG_CARELESS(TextureToRGBAPixelBuffer)
  QVG_CARELESS(TextureToBGRAPixelBuffer)
  QVG_CARELESS(ReleasePixelBuffer)
  QVG_CARELESS(ReleaseTexture)
  QVG_CARELESS(CreateFrameBuffer)
  QVG_CARELESS(CreateFrameBufferFromDesc)
  QVG_CARELESS(BindTextureToFrameBuffer)
  QVG_CARELESS(ClearFrameBuffer)
  QVG_CARELESS(DrawTexture)
  QVG_CARELESS(DestroyFrameBuffer)
  QVG_CARELESS(Finish)
  QVG_CARELESS(CreateWndDrawer)
  QVG_CARELESS(ClearWnd)
  QVG_CARELESS(DrawTextureToWnd)
  QVG_CARELESS(CreateEffect)
  QVG_CARELESS(SetEffectParameter)
  QVG_CARELESS(ApplyEffect)
  QVG_CARELESS(DestroyEffect)
#undef QVG_CARELESS
  return &careless;
}

}  // namespace
}  // namespace qvg::test

// The linker brings the tests' calls here (--wrap).
const QVGGLRendererInterface* __wrap_QVG_GetGLRendererInterface(const QVGConfig* config) {
  using namespace qvg::test;
  table = __real_QVG_GetGLRendererInterface(config);
  return DriverIs(kCarelessHost) ? CarelessTable() : table;
}
