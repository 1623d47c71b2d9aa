// The cache of images and files by path.
#include "pool/resourceCache.h"

#include <filesystem>
#include <fstream>

#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

constexpr char kPath[] = "folder/image.png";

/// What the host's callbacks return, and what they were passed.
QVGHostImage hostImage;
int decoded, freed;

QVGHostImage* Decode(const char*) {
  ++decoded;
  return &hostImage;
}
void Free(const char*, QVGHostImage* image) { freed += image == &hostImage; }

class ResourceCacheTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    hostImage = {pixels_, {}, 5, 3};
    decoded = freed = 0;
    callbacks_.decodeImage = Decode;
    callbacks_.freeImage = Free;
  }

  ResourceCache::Entry* AcquireImage() { return cache_.Acquire(kPath, ResourceCache::kImageTexture); }

  uint8_t pixels_[4 * 5 * 3] = {};
  ResourceCache& cache_ = runtime_->resources;
};

TEST_F(ResourceCacheTest, EntriesGoWithTheLastReferenceWhenTheyAreToBeErased) {
  ResourceCache::Entry* entry = AcquireImage();
  ASSERT_NE(entry, nullptr);
  const GLuint name = entry->texture->Id();
  // Only the path counts, whatever kind is requested.
  for (const int32_t kind : {1, 2, 3, 4}) EXPECT_EQ(cache_.Acquire(kPath, kind), entry) << kind;
  EXPECT_EQ(entry->count, 5);
  for (int i = 0; i < 5; ++i) cache_.Release(entry, false);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(AcquireImage(), entry) << "unused entries stay";
  cache_.Release(entry, true);
  EXPECT_EQ(AcquireImage(), entry) << "another one held it";
  for (const bool erase : {false, true}) cache_.Release(entry, erase);
  EXPECT_EQ(decoded, 1);
  Texture* pooled = runtime_->textures.Acquire(5, 3, GL_RGBA8);
  EXPECT_EQ(pooled->Id(), name) << "its texture went back to the pool";
  runtime_->textures.Release(pooled);
  EXPECT_NE(AcquireImage(), nullptr);
  EXPECT_EQ(decoded, 2);
  EXPECT_EQ(freed, 2);
}

TEST_F(ResourceCacheTest, ImagesAreGivenBackAndBadOnesLeaveNothing) {
  for (const int32_t kind : {0, 5, -1}) EXPECT_EQ(cache_.Acquire(kPath, kind), nullptr) << kind;
  EXPECT_EQ(cache_.Acquire("", ResourceCache::kImageTexture), nullptr);
  EXPECT_EQ(decoded, 0);
  const QVGHostImage bad[] = {
      {nullptr, {}, 5, 3}, {pixels_, {}, 0, 3}, {pixels_, {}, 5, -3}, {pixels_, {}, 1, INT32_MAX}};
  for (const QVGHostImage& image : bad) {
    hostImage = image;
    EXPECT_EQ(AcquireImage(), nullptr) << image.width << " x " << image.height;
  }
  EXPECT_EQ(freed, static_cast<int>(std::size(bad)));
  EXPECT_EQ(Live(glIsTexture), 0);

  ResourceCache::Entry* decodedImage = cache_.Acquire(kPath, ResourceCache::kDecodedImage);
  EXPECT_EQ(decodedImage->image, &hostImage);
  freed = 0;
  cache_.Release(decodedImage, true);
  EXPECT_EQ(freed, 1);
}

TEST_F(ResourceCacheTest, FilesAsBlocksAndAsStrings) {
  const std::string content("first line\r\nsecond\n\x1A\0end", 24);
  const std::string path = testing::TempDir() + "qvg_cache", empty = path + "_empty";
  std::ofstream(path, std::ios::binary) << content;
  std::ofstream(empty, std::ios::binary).flush();
  ResourceCache::Entry* text = cache_.Acquire(path, ResourceCache::kFileBytes);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->bytes, content);
  EXPECT_EQ(runtime_->scratchBuffers.IdleBytes(), content.size()) << "the block behind the string went back";
  cache_.Release(text, true);
  ResourceCache::Entry* block = cache_.Acquire(path, ResourceCache::kFileInScratch);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(block->block), block->blockSize), content);
  cache_.Release(block, true);
  EXPECT_EQ(runtime_->scratchBuffers.IdleBytes(), content.size());
  for (const std::string& none : {empty, path + "_missing", testing::TempDir()})
    EXPECT_EQ(cache_.Acquire(none, ResourceCache::kFileInScratch), nullptr) << none;
  for (const std::string& file : {path, empty}) std::filesystem::remove(file);
}

}  // namespace
}  // namespace qvg
