// What the tests need of the operating system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reference/image.h"

namespace qvg::test {

using namespace reference;

/// A GL entry point of the driver on which the library runs, or null.
void* GLFunction(const char* name);

/// A block of memory that ends where an inaccessible page begins: reading one byte past it ends the process.
class GuardedBlock {
 public:
  explicit GuardedBlock(size_t size);
  ~GuardedBlock();
  GuardedBlock(GuardedBlock&& other) noexcept;
  GuardedBlock& operator=(GuardedBlock&&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  static constexpr size_t kPage = 4096;
  static void* _MapPages(size_t size);
  static void _Forbid(void* page);
  static void _UnmapPages(void* base, size_t size);

  size_t size_ = 0;
  size_t mapped_ = 0;
  uint8_t* base_ = nullptr;
  uint8_t* data_ = nullptr;
};

/// A visible window as a host would own it, without decorations, at a place on the screen.
class HostWindow {
 public:
  HostWindow(int width, int height, int x = 0, int y = 0);
  ~HostWindow() { Destroy(); }
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;

  /// Whether windows can be shown here.
  static bool Available();
  /// The value for CreateSharedContext; null when the window could not be created.
  void* handle() const { return handle_; }
  void Resize(int width, int height);
  void Destroy();
  /// What the screen shows in the window, the top row first; empty when that can't be read, as for a window that
  /// reaches beyond the screen.
  Image Pixels() const;

 private:
  void* handle_ = nullptr;
};

/// Handles of this system's windows and drawables in which nothing can be presented.
std::vector<void*> UnusableWindows();

}  // namespace qvg::test
