#pragma once

#include <cstdio>

namespace bench {

/// What each operation of a steady frame costs in calls of OpenGL and in allocations, with one context at work. The
/// library must not run yet. Writes the rows to table, too, when that is not null, separated by tabs.
int CountOperations(std::FILE* table);

}  // namespace bench
