#pragma once

#include <stdexcept>

namespace backend {

// A start that is refused; the message is for the person who configures the service and never
// holds what a secret file holds.
class ConfigurationError final : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace backend
