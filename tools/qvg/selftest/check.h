// What one check of the library is, and what came of it.
#pragma once

#include <reference/image.h>
#include <reference/readBack.h>

#include <functional>
#include <string>
#include <vector>

namespace qvgtool::selftest {

/** Something that was not as it should be. */
struct Fault {
  std::string where;  // the case; may be empty
  std::string what;
};

/** Compares what the library gave with what it should have given, as often as a check likes. */
class Comparison {
 public:
  /** limit: in steps of 1/255. quick: fewer cases will do. */
  Comparison(double limit, bool quick) : limit_(limit), quick_(quick) {}

  bool Quick() const { return quick_; }
  /** Of which case the next comparisons are. */
  void Case(std::string text) { case_ = std::move(text); }

  void Same(const qvg::reference::Image& expected, const qvg::reference::Image& actual,
            const std::vector<bool>& skip = {});
  void Same(const qvg::reference::Planes& expected, const QVGPixelBuffer& actual);
  /** A condition that has no size; what: "the flag \"flipped\" is set". */
  void Holds(bool condition, const std::string& what);
  /** What was found in another way; "" is no fault. */
  void Record(const std::string& fault);

  qvg::reference::Errors errors;
  std::vector<Fault> faults;  // the first few
  size_t faultCount = 0;

 private:
  double limit_;
  bool quick_;
  std::string case_;
};

struct Check {
  std::string group, name;
  double limit;                          // in steps of 1/255
  std::function<void(Comparison&)> run;  // Throws where a call of the library fails.
};

/** Related checks. */
struct CheckGroup {
  const char* name;
  const char* title;
  std::vector<Check> (*make)();
};

std::vector<Check> UploadChecks();
std::vector<Check> ReadBackChecks();
std::vector<Check> TextureChecks();
std::vector<Check> BlendChecks();
std::vector<Check> MatteChecks();
std::vector<Check> GeometryChecks();
std::vector<Check> EffectChecks();

/** All of them, in the order in which they run. Making the checks takes no library. */
const std::vector<CheckGroup>& CheckGroups();

}  // namespace qvgtool::selftest
