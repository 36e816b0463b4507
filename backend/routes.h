#pragma once

#include "backend/platform/platform.h"
#include "backend/reports/rotating_log.h"
#include "backend/wire/reply.h"
#include "backend/wire/request.h"

namespace backend {

// Who answers a request.
enum class Lane {
    None,     // Nobody has to be asked, and it may be asked for as often as one likes: the health.
    Refusal,  // Nobody has to be asked.
    Disk,     // Something is written.
    Platform, // The platform is called, which may take long.
};

struct Services
{
    Platform &platform;
    RotatingLog &reports;
};

struct Route
{
    const char *method;
    const char *path;
    Lane lane;
    Reply (*answer)(const Request &, Services &);
};

// The route for a request; what no route is for is answered with 404 or 405 by the one returned.
const Route &routeFor(const Request &request);

} // namespace backend
