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

/** The possible values of QVG_CONTEXT, without the numbers of devices. */
std::vector<std::string> DisplayChoices();
/** Null removes the variable. The change is visible to the library. */
void SetEnvironment(const char* name, const char* value);
/** All variables, "NAME=value". */
std::vector<std::string> Environment();

/** A function of the current context's driver, or null. */
void* DriverFunction(const char* name);
/** Versions and extensions of the API that creates contexts. */
std::vector<std::pair<std::string, std::string>> PlatformTexts();
/** The devices that QVG_CONTEXT=device:N selects, from 0. */
std::vector<std::string> DeviceNames();

}  // namespace qvgtool::selftest
