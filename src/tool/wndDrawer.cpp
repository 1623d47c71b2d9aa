#include "tool/wndDrawer.h"

#include <utility>

#include "base/content.h"
#include "base/contextState.h"
#include "base/glContext.h"
#include "base/glError.h"
#include "base/limits.h"
#include "base/pass.h"
#include "base/program.h"
#include "base/programCache.h"
#include "base/texture.h"
#include "tool/shaders.h"
#include "utils/format.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr char kVersion[] = "#version 300 es\n";

enum Sampler { kMainTexture };

constexpr ProgramKind kKind = {.name = "WndDrawer",
                               .vertex = {shaders::wnd_vert},
                               .fragment = {shaders::wnd_frag},
                               .uniforms = {},
                               .samplers = {{"main_texture", 0}}};

enum BoundedUniform { kBounds };

constexpr ProgramKind kBoundedKind = {.name = "WndDrawerBounded",
                                      .vertex = {shaders::wnd_vert},
                                      .fragment = {shaders::wndBounded_frag},
                                      .uniforms = {"bounds"},
                                      .samplers = {{"main_texture", 0}}};

/// Texture coordinates at the corners of a quad that shows the picture as it is to be presented.
QuadCorners TexCoordsOf(const Texture& texture) {
  const glm::mat3 matrix =
      ContentTexMatrix(texture.Content(), QuarterTurns(texture.presentation.rotation), texture.presentation.flipped);
  QuadCorners corners = {glm::vec2(0, 1), glm::vec2(0, 0), glm::vec2(1, 0), glm::vec2(1, 1)};
  for (glm::vec2& corner : corners) corner = matrix * glm::vec3(corner, 1);
  return corners;
}

std::string InfoLog(GLuint name, GLint length, decltype(glGetShaderInfoLog) read) {
  char text[256] = {};
  if (length > 0) read(name, sizeof text - 1, nullptr, text);
  return text;
}

/// The largest place of the picture's aspect ratio in the middle of a window, in pixels from the lower left corner.
ContentRect FitIntoWindow(const Texture& texture, int windowWidth, int windowHeight) {
  const ContentRect& content = texture.Content();
  const bool odd = IsOddTurn(texture.presentation.rotation);
  const double width = odd ? content.height : content.width;
  const double height = odd ? content.width : content.height;
  const double imageAspect = width / height;
  const double windowAspect = static_cast<double>(windowWidth) / windowHeight;
  ContentRect place = {windowWidth, windowHeight, 0, 0, windowWidth, windowHeight};
  if (imageAspect >= windowAspect) {
    place.height = static_cast<int>(windowWidth / imageAspect + 0.5);
    place.y = static_cast<int>((windowHeight - place.height) * 0.5);
  } else {
    place.width = static_cast<int>(windowHeight * imageAspect + 0.5);
    place.x = static_cast<int>((windowWidth - place.width) * 0.5);
  }
  return place;
}

// Fills the window's own frame buffer, which stays bound.
void ClearWindow(float red, float green, float blue) {
  SetDrawState();
  glDisable(GL_FRAMEBUFFER_SRGB);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glClearColor(red, green, blue, 1.0f);
  glDepthMask(GL_TRUE);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

}  // namespace

WndDrawer::~WndDrawer() { Uninit(); }

bool WndDrawer::Init(void* window) {
  Uninit();
  std::lock_guard lock(mutex_);
  if (window == nullptr) {
    LogShort(kLogError, "WndDrawer: there is no window.");
    return false;
  }
  context_ = contexts_.CreateSharedContext(nullptr, window, false);
  if (context_ == nullptr) return false;
  contextId_ = contexts_.IdOf(context_);
  // Programs are shared by all contexts, so that this one need not be made current here, where it may not be possible.
  auto tools = std::make_unique<Tools>(programs_);
  bool made = false;
  contexts_.WithContext([&] {
    // Errors from before are not this drawer's.
    DrainGLErrors();
    tools->straight = _TakeProgram("WndDrawer", shaders::wnd_frag, kKind);
    tools->premultiplied = _TakeProgram("WndDrawerPremultiplied", shaders::wndPremultiplied_frag, kKind);
    made = tools->straight != nullptr && tools->premultiplied != nullptr;
    // Other contexts may only take over finished work.
    glFinish();
    made = CheckGLError() && made;
  });
  if (!made) {
    LogShort(kLogError, "WndDrawer: create shader program failed.");
    return false;
  }
  tools_ = std::move(tools);
  initialized_ = true;
  return true;
}

WndDrawer::Tools::~Tools() {
  programs.Return(straight);
  programs.Return(premultiplied);
  programs.Return(bounded);
}

Program* WndDrawer::_TakeProgram(const char* name, const char* fragment, const ProgramKind& kind) {
  if (Program* const idle = programs_.Get(name, "", ""); idle != nullptr) return idle;
  // Created first, so that the name has an owner at once.
  auto program = std::make_unique<Program>();
  const GLuint id = _CreateProgram(std::string(kVersion) + shaders::wnd_vert, std::string(kVersion) + fragment);
  if (id == 0) return nullptr;
  program->Adopt(id);
  program->SetCacheName(name);
  return program->SetKind(kind) ? programs_.Lend(std::move(program)) : nullptr;
}

bool WndDrawer::Uninit() {
  std::lock_guard lock(mutex_);
  if (context_ == nullptr) return true;
  // What is deleted where no context is current waits for one. Frame buffers and vertex arrays go with the context.
  content_.reset();
  tools_.reset();
  // The host may have given it back, which destroys it.
  if (contexts_.IsLive(context_)) contexts_.DestroySharedContext(context_);
  context_ = nullptr;
  contextId_ = 0;
  initialized_ = false;
  return true;
}

void WndDrawer::SetSize(int width, int height) { size_ = {width, height}; }

GLuint WndDrawer::_LoadShader(GLenum type, const std::string& source) {
  const GLuint shader = glCreateShader(type);
  const GLchar* text = source.c_str();
  glShaderSource(shader, 1, &text, nullptr);
  glCompileShader(shader);
  GLint compiled = 0;
  GLint length = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
  glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
  if (CheckGLError() && compiled != 0) return shader;
  if (length > 0) {
    LogShort(kLogError,
             Format("WndDrawer: compile shader failed. err={}", InfoLog(shader, length, glGetShaderInfoLog)));
  }
  if (shader != 0) glDeleteShader(shader);
  return 0;
}

bool WndDrawer::_Link(GLuint program) {
  glLinkProgram(program);
  GLint linked = 0;
  GLint length = 0;
  glGetProgramiv(program, GL_LINK_STATUS, &linked);
  glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
  if (linked == 0 && length > 0) {
    LogShort(kLogError,
             Format("WndDrawer: link shader program failed. err={}", InfoLog(program, length, glGetProgramInfoLog)));
  }
  return CheckGLError() && linked != 0;
}

GLuint WndDrawer::_CreateProgram(const std::string& vertexSource, const std::string& fragmentSource) {
  const GLuint shaders[] = {_LoadShader(GL_VERTEX_SHADER, vertexSource),
                            _LoadShader(GL_FRAGMENT_SHADER, fragmentSource)};
  const GLuint program = glCreateProgram();
  bool whole = program != 0;
  for (const GLuint shader : shaders) {
    if (program != 0 && shader != 0) glAttachShader(program, shader);
    whole = whole && shader != 0;
  }
  // Linking an incomplete program has crashed later draws of a driver.
  const bool linked = CheckGLError() && whole && _Link(program);
  for (const GLuint shader : shaders) {
    if (shader != 0) glDeleteShader(shader);
  }
  if (linked) return program;
  if (program != 0) glDeleteProgram(program);
  return 0;
}

bool WndDrawer::_Ready() const {
  if (!initialized_) return false;
  if (contextId_ != 0 && CurrentContextId() == contextId_) return true;
  LogShort(kLogError, "WndDrawer: the drawer's context is not current.");
  return false;
}

void WndDrawer::Clear(float red, float green, float blue) {
  if (!_Ready()) return;
  ClearWindow(red, green, blue);
  contexts_.SwapBuffers(context_);
}

const Texture* WndDrawer::_WholeStorage(const Texture& texture) {
  const ContentRect& from = texture.Content();
  if (from.storageWidth == from.width && from.storageHeight == from.height) return &texture;
  // What can't be copied is drawn within its bounds.
  if (!from.IsInside() || !Limits::IsRenderable(texture.Setting().internalFormat)) return &texture;
  if (content_ == nullptr || content_->Content().width != from.width || content_->Content().height != from.height) {
    TextureSetting setting;
    setting.width = from.width;
    setting.height = from.height;
    setting.purpose = "copy for a window";
    content_ = std::make_unique<Texture>();
    if (!content_->Allocate(setting)) content_.reset();
  }
  if (content_ == nullptr || !content_->SubmitCopyFrom(&texture, from.x, from.y, from.width, from.height) ||
      !content_->RemapRGBA(texture.CurrentSwizzle())) {
    return nullptr;
  }
  content_->presentation = texture.presentation;
  return content_.get();
}

bool WndDrawer::_DrawPicture(const Texture& texture, const Size& window) {
  if (tools_->quad == nullptr) tools_->quad = std::make_unique<Quad>();
  if (!tools_->quad->SetTexCoords(TexCoordsOf(texture))) return false;
  const ContentRect& content = texture.Content();
  const bool whole = content.storageWidth == content.width && content.storageHeight == content.height;
  const bool bounded = !whole && content.IsInside();
  if (bounded && tools_->bounded == nullptr) {
    tools_->bounded = _TakeProgram("WndDrawerBounded", shaders::wndBounded_frag, kBoundedKind);
  }
  const bool premultiplied = texture.presentation.alpha == AlphaForm::kPremultiplied;
  Program* const program = bounded ? tools_->bounded : premultiplied ? tools_->premultiplied : tools_->straight;
  if (program == nullptr) return false;
  Pass pass(*program, *tools_->quad, {0, FitIntoWindow(texture, window.width, window.height), nullptr});
  if (!pass.Ready()) return false;
  pass.SetTexture(kMainTexture, texture);
  if (bounded) pass.Set(kBounds, content.SampleBounds());
  pass.Draw();
  return pass.End();
}

void WndDrawer::_Distrust() {
  content_.reset();
  tools_->quad.reset();
  tools_->straight->ForgetValues();
  tools_->premultiplied->ForgetValues();
  if (tools_->bounded != nullptr) tools_->bounded->ForgetValues();
}

bool WndDrawer::Draw(const Texture* texture) {
  if (!_Ready()) return false;
  FlushContextObjects();
  const Size window = size_;
  const bool visible = texture != nullptr && window.width > 0 && window.height > 0 && texture->Content().width > 0 &&
                       texture->Content().height > 0;
  const Texture* picture = visible ? _WholeStorage(*texture) : nullptr;
  ClearWindow(0, 0, 0);
  const bool drawn = !visible || (picture != nullptr && _DrawPicture(*picture, window));
  glViewport(0, 0, window.width, window.height);
  // Including errors that an earlier step has found.
  if (!CheckGLError() || !drawn || CurrentContext()->failed) {
    _Distrust();
    return false;
  }
  contexts_.SwapBuffers(context_);
  return true;
}

}  // namespace qvg
