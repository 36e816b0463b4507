#pragma once

#include <string>

namespace backend {

// The whole file. A ConfigurationError when it is not there, larger than 64 KiB, or others could
// read it. For systemd's credentials the service's folder keeps others out; there the access list
// of a file may show as rights of its group.
std::string readSecretFile(const std::string &path);

} // namespace backend
