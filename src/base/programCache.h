#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/programKind.h"

namespace qvg {

class Program;
class ProgramCache;

/// The programs that one context holds, so that its draws find them without a lock. Used with the context current.
class ProgramTable {
 public:
  explicit ProgramTable(ProgramCache& cache);
  ~ProgramTable();
  ProgramTable(const ProgramTable&) = delete;
  ProgramTable& operator=(const ProgramTable&) = delete;

  /// Null when the context holds none of that variant.
  Program* Find(const ProgramKind& kind, uint32_t variant) const;
  /// Gives all of them back to the cache.
  void GiveBack();
  /// Makes each of them send its values again.
  void ForgetValues();

 private:
  friend class ProgramCache;

  struct Entry {
    const ProgramKind* kind;
    uint32_t variant;
    Program* program;
  };

  ProgramCache* cache_;  // null: gone before the context
  std::vector<Entry> entries_;
};

/// Lends linked programs by name: a program belongs to its taker from Get to Return, and a second taker of the same
/// name gets a second one. Names are compared, never sources. Any thread, with a context of the library current.
class ProgramCache {
 public:
  ProgramCache() = default;
  ~ProgramCache();
  ProgramCache(const ProgramCache&) = delete;
  ProgramCache& operator=(const ProgramCache&) = delete;

  /// An idle program of that name, or a new one from the sources; null without a name or a context, or when there is
  /// none idle and a source is empty. Of several idle ones the one that the current context used last, else the one
  /// that came back first. Null, which is logged, for one that does not compile or link; the next call tries again.
  Program* Get(const std::string& name, const std::string& vertexSource, const std::string& fragmentSource);
  /// Takes over a program that was linked elsewhere and has a name for the cache, and lends it to the caller.
  Program* Lend(std::unique_ptr<Program> program);
  /// Takes a program back, even one that was never lent. False for null.
  bool Return(Program* program);

  /// The current context's program of a variant, which stays with the context until that is unbound. Null without a
  /// context, or when the program can't be made.
  Program* Of(const ProgramKind& kind, uint32_t variant);
  /// Whether the current context has the variant's program, or can take one without compiling it.
  bool HasReady(const ProgramKind& kind, uint32_t variant);
  /// Gives the current context's program of a variant back before the context is left: whichever context draws with it
  /// next takes it.
  void Offer(const ProgramKind& kind, uint32_t variant);

 private:
  friend class ProgramTable;

  const ProgramText& _Text(const ProgramKind& kind, uint32_t variant);
  Program* _Take(const ProgramKind& kind, uint32_t variant);
  void _Drop(Program* program);
  Program* _Lend(std::unique_ptr<Program> program);

  std::mutex mutex_;
  std::list<Program*> idle_;   // In the order in which they came back.
  std::list<Program*> inUse_;  // In the order in which they were lent.
  std::map<std::pair<const ProgramKind*, uint32_t>, ProgramText> texts_;
  std::vector<ProgramTable*> tables_;
};

}  // namespace qvg
