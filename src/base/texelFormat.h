#pragma once

#include <cstddef>

#include "base/gl.h"

namespace qvg {

/// What the library knows about a sized internal format.
struct TexelFormat {
  GLenum internalFormat;
  int bytes;             ///< Of one texel, as counted in the pool's budget.
  bool integer = false;  ///< Sampled through an integer sampler.
};

// GL_RGB16 counts as 4 bytes, like every format that is not listed.
inline constexpr TexelFormat kTexelFormats[] = {{GL_RGBA8, 4},          {GL_R8, 1},          {GL_RG8, 2},
                                                {GL_RGB8, 3},           {GL_R3_G3_B2, 1},    {GL_R16UI, 2, true},
                                                {GL_RG16UI, 4, true},   {GL_R8I, 1, true},   {GL_R8UI, 1, true},
                                                {GL_R8_SNORM, 1},       {GL_RGBA2, 1},       {GL_R16, 2},
                                                {GL_R16_SNORM, 2},      {GL_RG8_SNORM, 2},   {GL_R16F, 2},
                                                {GL_R16I, 2, true},     {GL_RG8I, 2, true},  {GL_RG8UI, 2, true},
                                                {GL_RGB4, 2},           {GL_RGB5, 2},        {GL_RGBA4, 2},
                                                {GL_RGB5_A1, 2},        {GL_SRGB8, 3},       {GL_RGB8I, 3, true},
                                                {GL_RGB8UI, 3, true},   {GL_RGB8_SNORM, 3},  {GL_R32I, 4, true},
                                                {GL_R32UI, 4, true},    {GL_RG16I, 4, true}, {GL_RGBA8I, 4, true},
                                                {GL_RGBA8UI, 4, true},  {GL_RGB16F, 6},      {GL_RGB16I, 6, true},
                                                {GL_RGB16UI, 6, true},  {GL_RGB16_SNORM, 6}, {GL_RGBA12, 6},
                                                {GL_RGBA16, 8},         {GL_RGBA16F, 8},     {GL_RGBA16I, 8, true},
                                                {GL_RGBA16UI, 8, true}, {GL_RG32F, 8},       {GL_RG32I, 8, true},
                                                {GL_RG32UI, 8, true},   {GL_RGB32F, 12},     {GL_RGB32I, 12, true},
                                                {GL_RGB32UI, 12, true}, {GL_RGBA32F, 16},    {GL_RGBA32I, 16, true},
                                                {GL_RGBA32UI, 16, true}};

inline constexpr size_t kTexelFormatCount = sizeof kTexelFormats / sizeof kTexelFormats[0];

/// -1 for a format that is not listed.
constexpr int TexelFormatIndex(GLenum internalFormat) {
  for (size_t i = 0; i < kTexelFormatCount; ++i) {
    if (kTexelFormats[i].internalFormat == internalFormat) return static_cast<int>(i);
  }
  return -1;
}

/// Formats that are not listed count as 4 bytes, and as not integer.
constexpr TexelFormat TexelFormatOf(GLenum internalFormat) {
  const int index = TexelFormatIndex(internalFormat);
  return index < 0 ? TexelFormat{internalFormat, 4} : kTexelFormats[index];
}

}  // namespace qvg
