#include "tool/wndDrawer.h"

#include <fmt/format.h>

#include <array>

#include "base/content.h"
#include "base/glContext.h"
#include "base/texture.h"
#include "tool/shaders.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr char kVersion[] = "#version 300 es\n";
constexpr GLuint kPosition = 0;
constexpr GLuint kTexCoord = 1;

constexpr GLfloat kPositions[] = {-1, -1, 0, 1, -1, 0, -1, 1, 0, 1, 1, 0};
constexpr GLfloat kTexCoords[] = {0, 0, 1, 0, 0, 1, 1, 1};
constexpr GLfloat kFlippedTexCoords[] = {0, 1, 1, 1, 0, 0, 1, 0};
constexpr GLuint kIndices[] = {0, 1, 2, 1, 2, 3};

void UploadTexCoords(GLuint buffer, const GLfloat* coords) {
  glBindBuffer(GL_ARRAY_BUFFER, buffer);
  glBufferData(GL_ARRAY_BUFFER, sizeof kTexCoords, coords, GL_STATIC_DRAW);
  glBindBuffer(GL_ARRAY_BUFFER, 0);
}

/// The texture's coordinates at the vertices of kPositions.
std::array<GLfloat, 8> TexCoordsOf(const Texture& texture) {
  const QuadCorners corners =
      ContentTexCoords(ContentRect::Of(texture), QuarterTurns(texture.rotation), texture.flipped);
  constexpr size_t kTopLeft = 0, kBottomLeft = 1, kBottomRight = 2, kTopRight = 3;
  std::array<GLfloat, 8> coords = {};
  size_t next = 0;
  for (const size_t corner : {kBottomLeft, kBottomRight, kTopLeft, kTopRight}) {
    coords[next++] = corners[corner].x;
    coords[next++] = corners[corner].y;
  }
  return coords;
}

std::string InfoLog(GLuint name, GLint length, decltype(glGetShaderInfoLog) read) {
  char text[256] = {};
  if (length > 0) read(name, sizeof text - 1, nullptr, text);
  return text;
}

/// Where a picture stands in a window: GL viewport, in pixels from the lower left corner.
struct Viewport {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// The largest place of the picture's aspect ratio in the middle of a window.
Viewport FitIntoWindow(const Texture& texture, int windowWidth, int windowHeight) {
  const double width = IsOddTurn(texture.rotation) ? texture.loadedHeight : texture.loadedWidth;
  const double height = IsOddTurn(texture.rotation) ? texture.loadedWidth : texture.loadedHeight;
  const double imageAspect = width / height;
  const double windowAspect = static_cast<double>(windowWidth) / windowHeight;
  Viewport viewport = {0, 0, windowWidth, windowHeight};
  if (imageAspect >= windowAspect) {
    viewport.height = static_cast<int>(windowWidth / imageAspect + 0.5);
    viewport.y = static_cast<int>((windowHeight - viewport.height) * 0.5);
  } else {
    viewport.width = static_cast<int>(windowHeight * imageAspect + 0.5);
    viewport.x = static_cast<int>((windowWidth - viewport.width) * 0.5);
  }
  return viewport;
}

/// Makes what was current on the thread current again at the end of a scope, also when it is the host's own.
class BindingRestorer {
 public:
  BindingRestorer() : binding_(CurrentBinding()) {}
  ~BindingRestorer() { RestoreBinding(binding_); }
  BindingRestorer(const BindingRestorer&) = delete;
  BindingRestorer& operator=(const BindingRestorer&) = delete;

 private:
  ContextBinding binding_;
};

}  // namespace

WndDrawer::~WndDrawer() { Uninit(); }

bool WndDrawer::Init(void* window) {
  Uninit();
  std::lock_guard lock(mutex_);
  if (window == nullptr) {
    LogShort(kLogError, "WndDrawer: there is no window.");
    return false;
  }
  const BindingRestorer previous;
  context_ = contexts_.CreateSharedContext(nullptr, window, false);
  if (context_ == nullptr) return false;
  if (!contexts_.MakeCurrentContext(context_, nullptr)) {
    contexts_.DestroySharedContext(context_);
    context_ = nullptr;
    return false;
  }
  program_ = _CreateProgram(std::string(kVersion) + shaders::wnd_vert, std::string(kVersion) + shaders::wnd_frag);
  if (program_ == 0) {
    LogShort(kLogError, "WndDrawer: create shader program failed.");
    return false;
  }
  textureLocation_ = glGetUniformLocation(program_, "main_texture");
  _CreateGeometry();
  initialized_ = true;
  return true;
}

void WndDrawer::_CreateGeometry() {
  glGenVertexArrays(1, &vertexArray_);
  glGenVertexArrays(1, &flippedVertexArray_);
  for (GLuint* buffer : {&positionBuffer_, &texcoordBuffer_, &flippedTexcoordBuffer_, &indexBuffer_}) {
    glGenBuffers(1, buffer);
  }
  const struct {
    GLuint vertexArray;
    GLuint texcoordBuffer;
    const GLfloat* texCoords;
  } arrays[] = {{vertexArray_, texcoordBuffer_, kTexCoords},
                {flippedVertexArray_, flippedTexcoordBuffer_, kFlippedTexCoords}};
  for (const auto& array : arrays) {
    glBindVertexArray(array.vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, positionBuffer_);
    glBufferData(GL_ARRAY_BUFFER, sizeof kPositions, kPositions, GL_STATIC_DRAW);
    glVertexAttribPointer(kPosition, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(kPosition);
    glBindBuffer(GL_ARRAY_BUFFER, array.texcoordBuffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof kTexCoords, array.texCoords, GL_STATIC_DRAW);
    glVertexAttribPointer(kTexCoord, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(kTexCoord);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer_);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, sizeof kIndices, kIndices, GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindVertexArray(0);
  }
}

void WndDrawer::_DestroyVertexArrays() {
  for (GLuint* vertexArray : {&vertexArray_, &flippedVertexArray_}) {
    glDeleteVertexArrays(1, vertexArray);
    *vertexArray = 0;
  }
}

void WndDrawer::_DestroyObjects() {
  content_.reset();
  for (GLuint* buffer : {&positionBuffer_, &texcoordBuffer_, &flippedTexcoordBuffer_, &indexBuffer_}) {
    glDeleteBuffers(1, buffer);
    *buffer = 0;
  }
  glDeleteProgram(program_);
  program_ = 0;
}

bool WndDrawer::Uninit() {
  std::lock_guard lock(mutex_);
  if (context_ == nullptr) return true;
  // The host may have given it back, which destroys the context of a window that is gone.
  const bool live = contexts_.IsLive(context_);
  {
    const BindingRestorer previous;
    if (initialized_) {
      // The window may be gone, and its context with it for making current. Its vertex arrays go with it then; the rest
      // is shared, and any context will do.
      const bool own = live && contexts_.MakeCurrentContext(context_, nullptr);
      std::unique_ptr<TemporaryContext> substitute;
      if (!own) substitute = std::make_unique<TemporaryContext>(contexts_);
      if (own) _DestroyVertexArrays();
      if (own || substitute->Valid()) _DestroyObjects();
    }
  }
  if (live) contexts_.DestroySharedContext(context_);
  context_ = nullptr;
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
  if (length > 0) {
    LogShort(kLogError,
             fmt::format("WndDrawer: compile shader failed. err={}", InfoLog(shader, length, glGetShaderInfoLog)));
  }
  return shader;
}

GLuint WndDrawer::_CreateProgram(const std::string& vertexSource, const std::string& fragmentSource) {
  const GLuint vertex = _LoadShader(GL_VERTEX_SHADER, vertexSource);
  const GLuint fragment = _LoadShader(GL_FRAGMENT_SHADER, fragmentSource);
  const GLuint program = glCreateProgram();
  if (program != 0) {
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    glLinkProgram(program);
    GLint linked = 0;
    GLint length = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    if (length > 0) {
      LogShort(kLogError, fmt::format("WndDrawer: link shader program failed. err={}",
                                      InfoLog(program, length, glGetProgramInfoLog)));
    }
  }
  glDeleteShader(vertex);
  glDeleteShader(fragment);
  return program;
}

bool WndDrawer::_Ready() const {
  if (!initialized_) return false;
  if (contexts_.GetCurrentContext() == context_) return true;
  LogShort(kLogError, "WndDrawer: the drawer's context is not current.");
  return false;
}

void WndDrawer::_BindTarget() {
  glBindFramebuffer(GL_FRAMEBUFFER, useTargetFramebuffer_ ? targetFramebuffer_ : 0);
  if (useTargetRenderbuffer_) glBindRenderbuffer(GL_RENDERBUFFER, targetRenderbuffer_);
}

void WndDrawer::_UnbindTarget() {
  if (useTargetFramebuffer_) glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (useTargetRenderbuffer_) glBindRenderbuffer(GL_RENDERBUFFER, 0);
}

void WndDrawer::Clear(float red, float green, float blue) {
  if (!_Ready()) return;
  _BindTarget();
  glClearColor(red, green, blue, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  contexts_.SwapBuffers(context_);
  _UnbindTarget();
}

const Texture* WndDrawer::_WholeStorage(const Texture& texture) {
  const TextureSetting& storage = texture.Setting();
  if (storage.width == texture.loadedWidth && storage.height == texture.loadedHeight) return &texture;
  if (content_ == nullptr || content_->Setting().width != texture.loadedWidth ||
      content_->Setting().height != texture.loadedHeight) {
    TextureSetting setting;
    setting.width = texture.loadedWidth;
    setting.height = texture.loadedHeight;
    content_ = std::make_unique<Texture>();
    if (!content_->Allocate(setting)) content_.reset();
  }
  if (content_ == nullptr || !content_->SubmitCopyFrom(&texture, texture.offsetX, texture.offsetY, texture.loadedWidth,
                                                       texture.loadedHeight)) {
    return &texture;
  }
  content_->RemapRGBA(texture.CurrentSwizzle());
  content_->flipped = texture.flipped;
  content_->rotation = texture.rotation;
  return content_.get();
}

void WndDrawer::_DrawQuad(const Texture& texture, const Size& window) {
  const Viewport viewport = FitIntoWindow(texture, window.width, window.height);
  glViewport(viewport.x, viewport.y, viewport.width, viewport.height);
  glUseProgram(program_);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, texture.id);
  UploadTexCoords(texture.flipped ? flippedTexcoordBuffer_ : texcoordBuffer_, TexCoordsOf(texture).data());
  glBindVertexArray(texture.flipped ? flippedVertexArray_ : vertexArray_);
  if (textureLocation_ >= 0) glUniform1i(textureLocation_, 0);
  glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT, nullptr);
}

bool WndDrawer::Draw(const Texture* texture) {
  if (!_Ready()) return false;
  const Size window = size_;
  const bool visible = texture != nullptr && window.width > 0 && window.height > 0 && texture->loadedWidth > 0 &&
                       texture->loadedHeight > 0;
  const Texture* picture = visible ? _WholeStorage(*texture) : nullptr;
  _BindTarget();
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  if (picture != nullptr) _DrawQuad(*picture, window);
  glViewport(0, 0, window.width, window.height);
  contexts_.SwapBuffers(context_);
  glUseProgram(0);
  glBindTexture(GL_TEXTURE_2D, 0);
  glBindVertexArray(0);
  UploadTexCoords(texcoordBuffer_, kTexCoords);
  UploadTexCoords(flippedTexcoordBuffer_, kFlippedTexCoords);
  _UnbindTarget();
  return true;
}

}  // namespace qvg
