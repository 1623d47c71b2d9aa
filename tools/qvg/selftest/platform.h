// What the self-test needs of the operating system.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace qvgtool::selftest {

/** "Linux 6.1.0 x86_64, Debian GNU/Linux 12 (bookworm)" */
std::string SystemName();
/** The file that the library was loaded from. */
std::string LibraryFile();

/** What QVG_CONTEXT may be, but for numbers of devices. */
std::vector<std::string> DisplayChoices();
/** Null removes the variable. The library sees the change. */
void SetEnvironment(const char* name, const char* value);
/** All of it, "NAME=value". */
std::vector<std::string> Environment();

/** A function of the driver of the current context, or null. */
void* DriverFunction(const char* name);
/** Versions and extensions of what gives contexts. */
std::vector<std::pair<std::string, std::string>> PlatformTexts();
/** What device:N of QVG_CONTEXT stands for, from 0. */
std::vector<std::string> DeviceNames();

}  // namespace qvgtool::selftest
