#include "base/targetCache.h"

#include <algorithm>

#include "base/debugLabels.h"
#include "base/gl.h"
#include "base/glError.h"
#include "base/texture.h"
#include "utils/log.h"

namespace qvg {

uint32_t TargetCache::FrameBufferOf(const Texture& texture) {
  const Texture* const one[] = {&texture};
  return FrameBufferOf(one);
}

uint32_t TargetCache::FrameBufferOf(std::span<const Texture* const> textures) {
  std::array<uint64_t, kTextures> storages = {};
  std::transform(textures.begin(), textures.end(), storages.begin(),
                 [](const Texture* texture) { return texture->Storage(); });
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.storages == storages; });
  if (found != entries_.end()) {
    found->used = ++lookUps_;
    return found->name;
  }
  if (entries_.empty()) entries_.reserve(kCapacity);
  if (entries_.size() == kCapacity) {
    const auto oldest = std::min_element(entries_.begin(), entries_.end(),
                                         [](const Entry& a, const Entry& b) { return a.used < b.used; });
    glDeleteFramebuffers(1, &oldest->name);
    entries_.erase(oldest);
  }
  Entry entry = {storages, 0, ++lookUps_};
  glGenFramebuffers(1, &entry.name);
  glBindFramebuffer(GL_FRAMEBUFFER, entry.name);
  std::array<GLenum, kTextures> attachments = {};
  for (size_t i = 0; i < textures.size(); ++i) {
    attachments[i] = GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(i);
    glFramebufferTexture2D(GL_FRAMEBUFFER, attachments[i], textures[i]->Target(), textures[i]->Id(), 0);
    textures[i]->MarkAttached();
  }
  glDrawBuffers(static_cast<GLsizei>(textures.size()), attachments.data());
  const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (!complete) LogLocated(kLogError, "FrameBuffer is not complete");
  // Without a name, the status was that of the window's own frame buffer.
  if (!CheckGLError() || !complete || entry.name == 0) {
    glDeleteFramebuffers(1, &entry.name);
    return 0;
  }
  LabelObject(GL_FRAMEBUFFER, entry.name, "target: texture {}", textures[0]->Id());
  entries_.push_back(entry);
  count_ = entries_.size();
  return entry.name;
}

void TargetCache::Forget(uint64_t storage) {
  std::erase_if(entries_, [&](const Entry& entry) {
    if (std::find(entry.storages.begin(), entry.storages.end(), storage) == entry.storages.end()) return false;
    glDeleteFramebuffers(1, &entry.name);
    return true;
  });
  count_ = entries_.size();
}

void TargetCache::Clear() {
  for (const Entry& entry : entries_) glDeleteFramebuffers(1, &entry.name);
  entries_.clear();
  count_ = 0;
}

}  // namespace qvg
