// The environment of the test program itself.
#pragma once

#include <cstdlib>
#include <string>

namespace parvane {

inline void SetEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
  ::_putenv_s(name, value.c_str());
#else
  ::setenv(name, value.c_str(), 1);
#endif
}

}  // namespace parvane
