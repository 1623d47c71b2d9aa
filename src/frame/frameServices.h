#pragma once

namespace qvg {

class PixelBufferMapper;
class PixelBufferPool;
class ProgramCache;
class ScratchBufferPool;
class SurfaceSource;
class TexturePool;

/// What the operations on frames borrow from their owner. Each gives back what it took, also when it fails. They run
/// with a context of the library current on the calling thread.
struct FrameServices {
  ProgramCache& programs;
  SurfaceSource& surfaces;
  TexturePool& textures;
  PixelBufferPool& pixelBuffers;
  PixelBufferMapper& mapper;
  ScratchBufferPool& scratchBuffers;
};

}  // namespace qvg
