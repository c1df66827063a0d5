// Which build of the program this is.
#ifndef MOLDEX_DRIVER_VERSION_H_
#define MOLDEX_DRIVER_VERSION_H_

#include <string>

namespace moldex {

const char* ReleaseString();

// Release, date and time of the build, with an empty line in front and a line end behind.
std::string VersionText();

}  // namespace moldex

#endif  // MOLDEX_DRIVER_VERSION_H_
