#pragma once

#include <memory>

#include "bench/work.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace bench {

/// Starts the library, with a decoder that gives the background of the size that the path tells.
const QVGGLRendererInterface* StartLibrary();
/// Throws when a slot failed.
void Check(bool ok, const char* what);
/// A frame of PicturesOf in memory, of the formats RGBA, NV12 and I420.
QVGPixelBuffer Describe(const Pictures& pictures, Size size, int32_t format);
/// An instance with the key, the background and, unless settings are kKeyOnly, all other stages. Needs a context.
QVGEffect* MakeEffect(const QVGGLRendererInterface& table, const EffectSettings& settings, Size size);

/// The work through the function table, on a context of its own.
std::unique_ptr<Renderer> MakeLibraryRenderer(const QVGGLRendererInterface& table, Work work, Size size);

}  // namespace bench
