// Converts pictures of the reference to textures of the library, and back. Everything here needs a current context, and
// throws when a call of the library fails.
#pragma once

#include <reference/frames.h>
#include <reference/image.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <utility>
#include <vector>

namespace qvgtool::selftest {

using Sizes = std::vector<std::pair<int, int>>;

qvg::Texture Uploaded(const qvg::reference::Frame& frame, qvg::Rows rows = qvg::Rows::kTopDown);
/** A texture with these texels, texture row 0 first. */
qvg::Texture Uploaded(const qvg::reference::Image& picture);
/** A premultiplied texture with these texels: the result of an effect with nothing to change. */
qvg::Texture UploadedPremultiplied(const qvg::reference::Image& picture);
/** Uploads a picture into a texture of its size. */
void Refill(const qvg::Texture& texture, const qvg::reference::Image& picture);

/** The origin of a texture's storage. */
enum class Storage { kFresh, kRecycled };
constexpr Storage kStorages[] = {Storage::kFresh, Storage::kRecycled};
const char* Text(Storage storage);
/** Empties all pools. For kRecycled it leaves a texture in them which an upload of this format takes, larger than the
 *  size and with other content. */
void Prepare(Storage storage, int format, int width, int height);
qvg::Texture UploadedAnew(const qvg::reference::Image& picture, Storage storage);

qvg::FrameBuffer TargetOn(const qvg::Texture& texture, const QVGCamera& camera, bool depth = false);

/** The texture's content as it is sampled, texture row 0 first. */
qvg::reference::Image Content(const qvg::Texture& texture);

}  // namespace qvgtool::selftest
