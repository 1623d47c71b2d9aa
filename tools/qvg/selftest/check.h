// A check of the library, and its outcome.
#pragma once

#include <reference/image.h>
#include <reference/readBack.h>

#include <functional>
#include <string>
#include <vector>

namespace qvgtool::selftest {

/** Something that was not as it should be. */
struct Fault {
  std::string where;  // The case; may be empty.
  std::string what;
};

/** Compares the library's results with the expected ones, any number of times. */
class Comparison {
 public:
  /** limit: in steps of 1/255. quick: fewer cases are enough. */
  Comparison(double limit, bool quick) : limit_(limit), quick_(quick) {}

  bool Quick() const { return quick_; }
  /** Names the case to which the next comparisons belong. */
  void Case(std::string text) { case_ = std::move(text); }

  void Same(const qvg::reference::Image& expected, const qvg::reference::Image& actual,
            const std::vector<bool>& skip = {});
  void Same(const qvg::reference::Planes& expected, const QVGPixelBuffer& actual);
  /** A condition that is met or not; what: "the flag \"flipped\" is set". */
  void Holds(bool condition, const std::string& what);
  /** A fault that was found in another way; "" is none. */
  void Record(const std::string& fault);

  qvg::reference::Errors errors;
  std::vector<Fault> faults;  // The first few.
  size_t faultCount = 0;

 private:
  double limit_;
  bool quick_;
  std::string case_;
};

struct Check {
  std::string group, name;
  double limit;                          // In steps of 1/255.
  std::function<void(Comparison&)> run;  // Throws when a call of the library fails.
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

/** All of them, in the order in which they run. Making the list doesn't need the library. */
const std::vector<CheckGroup>& CheckGroups();

}  // namespace qvgtool::selftest
