// The cache of images and files by path.
#include "pool/resourceCache.h"

#include <filesystem>
#include <fstream>

#include "pool/scratchBufferPool.h"
#include "pool/texturePool.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

constexpr char kPath[] = "folder/image.png";

/// What the host's callbacks give and saw.
QVGHostImage hostImage;
bool decodes;
std::atomic<int> decoded;
int freed;

QVGHostImage* Decode(const char* path) {
  EXPECT_STREQ(path, kPath);
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  ++decoded;
  return decodes ? &hostImage : nullptr;
}

void Free(const char* path, QVGHostImage* image) {
  EXPECT_STREQ(path, kPath);
  EXPECT_EQ(image, &hostImage);
  ++freed;
}

class ResourceCacheTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    hostImage = {pixels_, {}, 5, 3};
    decodes = true;
    decoded = freed = 0;
    callbacks_.decodeImage = Decode;
    callbacks_.freeImage = Free;
    textures_.emplace(1000, [] {});
    cache_.emplace(callbacks_, *textures_, scratch_);
  }

  void TearDown() override {
    cache_.reset();
    textures_.reset();
    EXPECT_EQ(Live(glIsTexture), 0);
    for (const std::string& file : files_) std::filesystem::remove(file);
    GLTest::TearDown();
  }

  ResourceCache::Entry* AcquireImage() { return cache_->Acquire(kPath, ResourceCache::kImageTexture); }

  std::string File(const std::string& content) {
    const std::string path = testing::TempDir() + "qvg_cache_" + std::to_string(files_.size());
    std::ofstream(path, std::ios::binary) << content;
    return files_.emplace_back(path);
  }

  uint8_t pixels_[4 * 5 * 3] = {};
  std::vector<std::string> files_;
  ResourceCache::Callbacks callbacks_;
  ScratchBufferPool scratch_;
  std::optional<TexturePool> textures_;
  std::optional<ResourceCache> cache_;
};

TEST_F(ResourceCacheTest, ImageIsDecodedOnceAndGivenBackAtOnce) {
  ResourceCache::Entry* entry = AcquireImage();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(freed, 1);
  EXPECT_TRUE(entry->texture->presentation.flipped);
  const GLuint name = entry->texture->Id();
  // The path alone counts, whatever kind is asked for.
  for (const int32_t kind : {1, 2, 3, 4}) EXPECT_EQ(cache_->Acquire(kPath, kind), entry) << kind;
  EXPECT_EQ(entry->count, 5);
  EXPECT_EQ(entry->kind, ResourceCache::kImageTexture);
  for (int i = 0; i < 5; ++i) cache_->Release(entry, false);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(AcquireImage(), entry) << "unused entries stay";
  cache_->Release(entry, true);
  EXPECT_EQ(AcquireImage(), entry) << "another one held it";
  EXPECT_EQ(decoded, 1);
  for (const bool erase : {false, true}) cache_->Release(entry, erase);
  cache_->Release(nullptr, true);
  Texture* pooled = textures_->Acquire(5, 3, GL_RGBA8);
  EXPECT_EQ(pooled->Id(), name) << "its texture went back to the pool";
  textures_->Release(pooled);
  EXPECT_NE(AcquireImage(), nullptr);
  EXPECT_EQ(decoded, 2);
  EXPECT_EQ(freed, 2);
}

TEST_F(ResourceCacheTest, WhatFailsLeavesNothing) {
  for (const int32_t kind : {0, 5, -1}) EXPECT_EQ(cache_->Acquire(kPath, kind), nullptr) << kind;
  EXPECT_EQ(cache_->Acquire("", ResourceCache::kImageTexture), nullptr);
  decodes = false;
  EXPECT_EQ(AcquireImage(), nullptr);
  callbacks_.decodeImage = nullptr;
  EXPECT_EQ(AcquireImage(), nullptr);
  callbacks_.decodeImage = Decode;
  EXPECT_EQ(decoded, 1);
  decodes = true;
  const QVGHostImage good = hostImage;
  const QVGHostImage bad[] = {{nullptr, {}, 5, 3},      {good.pixels, {}, 0, 3},       {good.pixels, {}, 5, 0},
                              {good.pixels, {}, -5, 3}, {good.pixels, {}, 1 << 20, 1}, {good.pixels, {}, 1, INT32_MAX}};
  for (const QVGHostImage& image : bad) {
    hostImage = image;
    EXPECT_EQ(AcquireImage(), nullptr) << image.width << " x " << image.height;
  }
  EXPECT_EQ(freed, static_cast<int>(std::size(bad)));
  EXPECT_EQ(Live(glIsTexture), 0);
  hostImage = good;
  callbacks_.freeImage = nullptr;
  EXPECT_NE(AcquireImage(), nullptr);
}

TEST_F(ResourceCacheTest, DecodedImageIsKeptWhileItsEntryLives) {
  for (const bool erased : {true, false}) {
    ResourceCache::Entry* entry = cache_->Acquire(kPath, ResourceCache::kDecodedImage);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->image, &hostImage);
    EXPECT_EQ(freed, erased ? 0 : 1);
    if (erased) cache_->Release(entry, true);
  }
  cache_.reset();
  EXPECT_EQ(freed, 2);
}

TEST_F(ResourceCacheTest, FilesAsBlocksAndAsStrings) {
  std::string content = "first line\r\nsecond\n\x1A";
  for (int i = 0; i < 5000; ++i) content += static_cast<char>(i * 7 % 256);
  const std::string path = File(content), other = File(content);
  ResourceCache::Entry* text = cache_->Acquire(path, ResourceCache::kFileBytes);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->bytes, content);
  uint8_t* const idle = scratch_.Acquire(content.size());
  scratch_.Release(idle);
  ResourceCache::Entry* block = cache_->Acquire(other, ResourceCache::kFileInScratch);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block->block, idle) << "the block behind the string went back to the pool";
  EXPECT_EQ(std::string(reinterpret_cast<char*>(block->block), block->blockSize), content);
  cache_->Release(block, true);
  EXPECT_EQ(scratch_.Acquire(content.size()), idle);
  for (const std::string& none : {File(""), path + " missing", testing::TempDir()})
    for (const int32_t kind : {ResourceCache::kFileInScratch, ResourceCache::kFileBytes})
      EXPECT_EQ(cache_->Acquire(none, kind), nullptr) << none;
}

TEST_F(ResourceCacheTest, ThreadsThatAskAtOnceShareOneEntry) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([this] { EXPECT_NE(cache_->Acquire(kPath, ResourceCache::kDecodedImage), nullptr); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(decoded, 1);
  EXPECT_EQ(cache_->Acquire(kPath, ResourceCache::kDecodedImage)->count, 5);
}

}  // namespace
}  // namespace qvg
