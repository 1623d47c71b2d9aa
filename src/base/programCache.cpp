#include "base/programCache.h"

#include <algorithm>
#include <memory>
#include <set>

#include "base/program.h"

namespace qvg {

ProgramCache::~ProgramCache() {
  // A program that was returned twice is listed twice.
  std::set<Program*> programs(idle_.begin(), idle_.end());
  programs.insert(inUse_.begin(), inUse_.end());
  for (Program* program : programs) delete program;
}

Program* ProgramCache::Get(const std::string& name, const std::string& vertexSource,
                           const std::string& fragmentSource) {
  // Without a context the program would be an empty one, and lent to all who come later.
  if (name.empty() || CurrentContextId() == 0) return nullptr;
  std::lock_guard lock(mutex_);
  const auto found =
      std::find_if(idle_.begin(), idle_.end(), [&](const Program* program) { return program->CacheName() == name; });
  if (found != idle_.end()) {
    inUse_.splice(inUse_.end(), idle_, found);
    inUse_.back()->fence.Wait();
    return inUse_.back();
  }
  if (vertexSource.empty() || fragmentSource.empty()) return nullptr;
  auto program = std::make_unique<Program>();
  program->LoadFromContent(vertexSource, fragmentSource, "");
  program->SetCacheName(name);
  inUse_.push_back(program.get());
  return program.release();
}

bool ProgramCache::Return(Program* program) {
  if (program == nullptr) return false;
  program->fence = GpuFence::Insert();
  std::lock_guard lock(mutex_);
  const auto lent = std::find(inUse_.begin(), inUse_.end(), program);
  if (lent != inUse_.end()) {
    idle_.splice(idle_.end(), inUse_, lent);
  } else {
    idle_.push_back(program);
  }
  return true;
}

}  // namespace qvg
