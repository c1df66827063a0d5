// Release and build of the program.
#ifndef MOLDEX_DRIVER_VERSION_H_
#define MOLDEX_DRIVER_VERSION_H_

#include <string>

namespace moldex {

const char* ReleaseString();

// Release, date and time of the build, after an empty line and with a line end.
std::string VersionText();

}  // namespace moldex

#endif  // MOLDEX_DRIVER_VERSION_H_
