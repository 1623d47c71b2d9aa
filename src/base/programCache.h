#pragma once

#include <list>
#include <mutex>
#include <string>

namespace qvg {

class Program;

/// Lends linked programs by name: a program belongs to its taker from Get to Return, and a second taker of the same
/// name gets a second one. Names are compared, never sources. Any thread, with a context of the share group current.
class ProgramCache {
 public:
  ProgramCache() = default;
  ~ProgramCache();
  ProgramCache(const ProgramCache&) = delete;
  ProgramCache& operator=(const ProgramCache&) = delete;

  /// The idle program of that name that came back first, or a new one from the sources; null without a name or a
  /// context, or when there is none idle and a source is empty. A program that did not compile is lent like any other.
  Program* Get(const std::string& name, const std::string& vertexSource, const std::string& fragmentSource);
  /// Takes a program back, also one that was never lent. False for null.
  bool Return(Program* program);

 private:
  std::mutex mutex_;
  std::list<Program*> idle_;   // In the order in which they came back.
  std::list<Program*> inUse_;  // In the order in which they were lent.
};

}  // namespace qvg
