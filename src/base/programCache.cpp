#include "base/programCache.h"

#include <algorithm>
#include <memory>

#include "base/contextState.h"
#include "base/program.h"

namespace qvg {

ProgramTable::ProgramTable(ProgramCache& cache) : cache_(&cache) {
  std::lock_guard lock(cache.mutex_);
  cache.tables_.push_back(this);
}

ProgramTable::~ProgramTable() {
  if (cache_ == nullptr) return;
  GiveBack();
  std::lock_guard lock(cache_->mutex_);
  std::erase(cache_->tables_, this);
}

Program* ProgramTable::Find(const ProgramKind& kind, uint32_t variant) const {
  for (const Entry& entry : entries_) {
    if (entry.kind == &kind && entry.variant == variant) return entry.program;
  }
  return nullptr;
}

void ProgramTable::GiveBack() {
  if (cache_ == nullptr) return;
  for (const Entry& entry : entries_) cache_->Return(entry.program);
  entries_.clear();
}

void ProgramTable::ForgetValues() {
  for (const Entry& entry : entries_) entry.program->ForgetValues();
}

ProgramCache::~ProgramCache() {
  for (ProgramTable* table : tables_) {
    table->cache_ = nullptr;
    table->entries_.clear();
  }
  // A program that was returned twice is listed twice.
  idle_.splice(idle_.end(), inUse_);
  idle_.sort();
  idle_.unique();
  for (Program* program : idle_) delete program;
}

Program* ProgramCache::Get(const std::string& name, const std::string& vertexSource,
                           const std::string& fragmentSource) {
  // Without a context the program would be an empty one, and would be lent to everybody who comes later.
  const ContextId context = CurrentContextId();
  if (name.empty() || context == 0) return nullptr;
  std::lock_guard lock(mutex_);
  auto found = idle_.end();
  for (auto candidate = idle_.begin(); candidate != idle_.end(); ++candidate) {
    if ((*candidate)->CacheName() != name || !(*candidate)->handOver.Ready()) continue;
    const bool ours = (*candidate)->handOver.User() == context;
    if (found == idle_.end() || ours) found = candidate;
    if (ours) break;
  }
  if (found != idle_.end()) {
    inUse_.splice(inUse_.end(), idle_, found);
    inUse_.back()->handOver.Take();
    return inUse_.back();
  }
  if (vertexSource.empty() || fragmentSource.empty()) return nullptr;
  auto program = std::make_unique<Program>();
  if (!program->LoadFromContent(vertexSource, fragmentSource, "")) return nullptr;
  program->SetCacheName(name);
  return _Lend(std::move(program));
}

Program* ProgramCache::Lend(std::unique_ptr<Program> program) {
  std::lock_guard lock(mutex_);
  return _Lend(std::move(program));
}

Program* ProgramCache::_Lend(std::unique_ptr<Program> program) {
  program->handOver.Take();
  inUse_.push_back(program.get());
  return program.release();
}

bool ProgramCache::Return(Program* program) {
  if (program == nullptr) return false;
  program->handOver.Give();
  std::lock_guard lock(mutex_);
  const auto lent = std::find(inUse_.begin(), inUse_.end(), program);
  if (lent != inUse_.end()) {
    idle_.splice(idle_.end(), inUse_, lent);
  } else {
    idle_.push_back(program);
  }
  return true;
}

const ProgramText& ProgramCache::_Text(const ProgramKind& kind, uint32_t variant) {
  std::lock_guard lock(mutex_);
  const std::pair key(&kind, variant);
  if (const auto known = texts_.find(key); known != texts_.end()) return known->second;
  return texts_.emplace(key, ProgramText::Of(kind, variant)).first->second;
}

Program* ProgramCache::_Take(const ProgramKind& kind, uint32_t variant) {
  const ProgramText& text = _Text(kind, variant);
  Program* const program = Get(text.name, text.vertex, text.fragment);
  if (program == nullptr || program->SetKind(kind)) return program;
  _Drop(program);
  return nullptr;
}

void ProgramCache::_Drop(Program* program) {
  {
    std::lock_guard lock(mutex_);
    inUse_.remove(program);
  }
  delete program;
}

Program* ProgramCache::Of(const ProgramKind& kind, uint32_t variant) {
  ContextState* const context = CurrentContext();
  if (context == nullptr) return nullptr;
  if (context->programs == nullptr || context->programs->cache_ != this) {
    context->programs = std::make_unique<ProgramTable>(*this);
  }
  ProgramTable& table = *context->programs;
  if (Program* const held = table.Find(kind, variant); held != nullptr) return held;
  // Reserved first: a program that is taken without a place in the table would be lost.
  if (table.entries_.size() == table.entries_.capacity()) table.entries_.reserve(2 * table.entries_.size() + 8);
  Program* const program = _Take(kind, variant);
  if (program != nullptr) table.entries_.push_back({&kind, variant, program});
  return program;
}

bool ProgramCache::HasReady(const ProgramKind& kind, uint32_t variant) {
  const ContextState* const context = CurrentContext();
  if (context != nullptr && context->programs != nullptr && context->programs->cache_ == this &&
      context->programs->Find(kind, variant) != nullptr) {
    return true;
  }
  const std::string& name = _Text(kind, variant).name;
  std::lock_guard lock(mutex_);
  return std::any_of(idle_.begin(), idle_.end(),
                     [&](const Program* program) { return program->CacheName() == name && program->handOver.Ready(); });
}

void ProgramCache::Offer(const ProgramKind& kind, uint32_t variant) {
  ContextState* const context = CurrentContext();
  if (context == nullptr || context->programs == nullptr || context->programs->cache_ != this) return;
  auto& entries = context->programs->entries_;
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const ProgramTable::Entry& entry) {
    return entry.kind == &kind && entry.variant == variant;
  });
  if (found == entries.end()) return;
  Program* const program = found->program;
  entries.erase(found);
  program->handOver.GiveToAny();
  Return(program);
}

}  // namespace qvg
