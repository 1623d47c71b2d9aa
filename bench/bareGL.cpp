#include "bareGL.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace bench {

namespace {

constexpr char kVertex[] = R"(#version 410 core
out vec2 uv;
void main() {
  vec2 corner = vec2(gl_VertexID == 1 ? 2 : 0, gl_VertexID == 2 ? 2 : 0);
  uv = corner;
  gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
})";

constexpr char kToRGB[] = R"(#version 410 core
in vec2 uv;
out vec4 color;
uniform sampler2D luma;
uniform sampler2D chroma;
uniform vec2 lumaRate;
uniform vec2 chromaRate;
void main() {
  float y = texture(luma, uv * lumaRate).r;
  vec2 c = texture(chroma, uv * chromaRate).rg - 0.5;
  vec3 rgb = vec3(y + 1.402 * c.y, y - 0.34414 * c.x - 0.71414 * c.y, y + 1.772 * c.x);
  color = vec4(clamp(rgb, 0.0, 1.0), 1.0);
})";

constexpr char kToLuma[] = R"(#version 410 core
out vec4 color;
uniform sampler2D source;
float y(int x) {
  ivec2 pixel = ivec2(int(gl_FragCoord.x) * 4 + x, int(gl_FragCoord.y));
  return dot(texelFetch(source, pixel, 0).rgb, vec3(0.299, 0.587, 0.114));
}
void main() { color = vec4(y(0), y(1), y(2), y(3)) * (219.0 / 255.0) + 16.0 / 255.0; })";

constexpr char kToChroma[] = R"(#version 410 core
out vec4 color;
uniform sampler2D source;
uniform int height;
vec2 uvOf(int x) {
  ivec2 pixel = ivec2(int(gl_FragCoord.x) * 4 + x, (int(gl_FragCoord.y) - height) * 2);
  vec3 rgb = (texelFetch(source, pixel, 0).rgb + texelFetch(source, pixel + ivec2(0, 1), 0).rgb) * 0.5;
  return vec2(dot(rgb, vec3(-0.169, -0.331, 0.5)), dot(rgb, vec3(0.5, -0.419, -0.081)));
}
void main() { color = vec4(uvOf(0), uvOf(2)) * (224.0 / 255.0) + 128.0 / 255.0; })";

GLuint Compile(GLenum type, const char* source) {
  const GLuint shader = glCreateShader(type);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  return shader;
}

GLuint Link(const char* fragment) {
  const GLuint program = glCreateProgram();
  for (const GLuint shader : {Compile(GL_VERTEX_SHADER, kVertex), Compile(GL_FRAGMENT_SHADER, fragment)}) {
    glAttachShader(program, shader);
    glDeleteShader(shader);
  }
  glLinkProgram(program);
  GLint linked = 0;
  glGetProgramiv(program, GL_LINK_STATUS, &linked);
  if (linked == 0) {
    std::fprintf(stderr, "the bare program does not link\n");
    std::exit(1);
  }
  glUseProgram(program);
  return program;
}

GLuint MakeTexture(GLenum format, int width, int height) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexStorage2D(GL_TEXTURE_2D, 1, format, width, height);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  return texture;
}

void Upload(GLuint texture, int width, int height, GLenum format, const uint8_t* pixels) {
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, pixels);
}

}  // namespace

BareGL::BareGL(Size size) : size_(size) {
  const int width = size.width;
  const int height = size.height;
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGenVertexArrays(1, &vertexArray_);
  luma_ = MakeTexture(GL_R8, width, height);
  chroma_ = MakeTexture(GL_RG8, width / 2, height / 2);
  rgb_ = _MakeTarget(width, height);
  packed_ = _MakeTarget(width / 4, height * 3 / 2);
  toRGB_ = Link(kToRGB);
  const auto rate = [](int texels) { return static_cast<float>(texels - 1) / static_cast<float>(texels); };
  glUniform1i(glGetUniformLocation(toRGB_, "chroma"), 1);
  glUniform2f(glGetUniformLocation(toRGB_, "lumaRate"), rate(width), rate(height));
  glUniform2f(glGetUniformLocation(toRGB_, "chromaRate"), rate(width / 2), rate(height / 2));
  toLuma_ = Link(kToLuma);
  toChroma_ = Link(kToChroma);
  glUniform1i(glGetUniformLocation(toChroma_, "height"), height);
  glGenBuffers(1, &pixelBuffer_);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, pixelBuffer_);
  glBufferData(GL_PIXEL_PACK_BUFFER, GLsizeiptr{4} * width * height, nullptr, GL_DYNAMIC_READ);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glUseProgram(0);
}

BareGL::~BareGL() {
  const GLuint textures[] = {luma_, chroma_, rgb_.texture, packed_.texture};
  glDeleteTextures(4, textures);
  const GLuint frameBuffers[] = {rgb_.frameBuffer, packed_.frameBuffer};
  glDeleteFramebuffers(2, frameBuffers);
  for (const GLuint program : {toRGB_, toLuma_, toChroma_}) glDeleteProgram(program);
  glDeleteBuffers(1, &pixelBuffer_);
  glDeleteVertexArrays(1, &vertexArray_);
}

BareGL::Target BareGL::_MakeTarget(int width, int height) {
  Target target;
  target.texture = MakeTexture(GL_RGBA8, width, height);
  glGenFramebuffers(1, &target.frameBuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, target.frameBuffer);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target.texture, 0);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  return target;
}

void BareGL::_UploadNV12(const std::vector<uint8_t>& frame) {
  const size_t lumaBytes = size_t{1} * static_cast<size_t>(size_.width) * static_cast<size_t>(size_.height);
  Upload(luma_, size_.width, size_.height, GL_RED, frame.data());
  Upload(chroma_, size_.width / 2, size_.height / 2, GL_RG, frame.data() + lumaBytes);
}

void BareGL::_DrawRGB() {
  glBindVertexArray(vertexArray_);
  glBindFramebuffer(GL_FRAMEBUFFER, rgb_.frameBuffer);
  glViewport(0, 0, size_.width, size_.height);
  glUseProgram(toRGB_);
  glActiveTexture(GL_TEXTURE1);
  glBindTexture(GL_TEXTURE_2D, chroma_);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, luma_);
  glDrawArrays(GL_TRIANGLES, 0, 3);
}

void BareGL::_DrawNV12() {
  const int width = size_.width / 4;
  glBindFramebuffer(GL_FRAMEBUFFER, packed_.frameBuffer);
  glViewport(0, 0, width, size_.height * 3 / 2);
  glBindTexture(GL_TEXTURE_2D, rgb_.texture);
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 0, width, size_.height);
  glUseProgram(toLuma_);
  glDrawArrays(GL_TRIANGLES, 0, 3);
  glScissor(0, size_.height, width, size_.height / 2);
  glUseProgram(toChroma_);
  glDrawArrays(GL_TRIANGLES, 0, 3);
  glDisable(GL_SCISSOR_TEST);
}

int BareGL::_Read(const Target& target, int width, int height) {
  const GLsizeiptr bytes = GLsizeiptr{4} * width * height;
  glBindFramebuffer(GL_FRAMEBUFFER, target.frameBuffer);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, pixelBuffer_);
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  const auto* pixels = static_cast<const uint8_t*>(glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, bytes, GL_MAP_READ_BIT));
  const int seen = pixels[0] + pixels[bytes - 1];
  glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glUseProgram(0);
  glBindVertexArray(0);
  return seen;
}

int BareGL::NV12ToNV12(const std::vector<uint8_t>& frame) {
  _UploadNV12(frame);
  _DrawRGB();
  _DrawNV12();
  return _Read(packed_, size_.width / 4, size_.height * 3 / 2);
}

int BareGL::NV12ToRGBA(const std::vector<uint8_t>& frame) {
  _UploadNV12(frame);
  _DrawRGB();
  return _Read(rgb_, size_.width, size_.height);
}

int BareGL::RGBAToRGBA(const std::vector<uint8_t>& frame) {
  Upload(rgb_.texture, size_.width, size_.height, GL_RGBA, frame.data());
  return _Read(rgb_, size_.width, size_.height);
}

}  // namespace bench
