// The commands of the tool, as the command line knows them.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <span>

namespace qvgtool {

/** Exit codes. */
enum ExitCode { kDone = 0, kFailed = 1, kBadUsage = 2, kNoContext = 3, kInterrupted = 130 };

class Command {
 public:
  virtual ~Command() = default;

  virtual void AddOptions(CLI::App& app) = 0;
  /** Called when the line has been parsed: sets defaults that depend on it, and refuses options that exclude each
   * other. Throws CLI::ParseError. */
  virtual void Complete(const CLI::App& /*app*/) {}
  /** Whether to print every line of the library's and the media backend's logs. */
  virtual bool Verbose() const { return false; }
  /** @return the exit code. Throws Error. */
  virtual int Run() = 0;
};

struct CommandRow {
  const char* name;
  const char* summary;
  std::unique_ptr<Command> (*make)();
  bool hidden = false;  // Not in the help.
};

/** All of them, in the order of the help. */
std::span<const CommandRow> Commands();

std::unique_ptr<Command> MakeProcess();
std::unique_ptr<Command> MakeView();
std::unique_ptr<Command> MakeTune();
std::unique_ptr<Command> MakeInfo();
std::unique_ptr<Command> MakeSelftest();
std::unique_ptr<Command> MakeEffects();
std::unique_ptr<Command> MakeCompletion();
std::unique_ptr<Command> MakeMan();

}  // namespace qvgtool
