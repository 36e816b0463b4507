#pragma once

#include <cstdlib>
#include <string>

namespace backend {

// A variable of the environment; empty where it is not set.
inline std::string environment(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

} // namespace backend
