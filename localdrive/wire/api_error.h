#pragma once

#include <stdexcept>
#include <string>

namespace localdrive {

// Ends an operation with an error reply. Thrown and caught inside this library only.
class ApiError final : public std::runtime_error
{
public:
    ApiError(int httpStatus, std::string errorCode, const std::string &message)
        : std::runtime_error(message), status(httpStatus), code(std::move(errorCode))
    {
    }

    int status;
    std::string code;
};

} // namespace localdrive
