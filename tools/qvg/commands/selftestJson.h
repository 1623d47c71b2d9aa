// A self-test's report for programs.
#pragma once

#include <string>

#include "selftest/report.h"

namespace qvgtool {

/** One JSON document. Its names stay as they are from one version to the next. */
std::string SelftestJson(const selftest::Report& report);

}  // namespace qvgtool
