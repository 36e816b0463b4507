#pragma once

#include <vector>

#include "dispatcher.h"

/// The operations, by whom they belong to in the platform's world.
namespace localdrive {

std::vector<Route> userRoutes(World &world);    ///< Open API: user, drive, space, VIP.
std::vector<Route> fileRoutes(World &world);    ///< Open API: listing, details, addresses, changes.
std::vector<Route> loginRoutes(World &world);   ///< Scan status, and what the phone opens.
std::vector<Route> backendRoutes(World &world); ///< Product backend.
std::vector<Route> downloadRoutes(World &world); ///< Contents of files.
std::vector<Route> playRoutes(World &world);     ///< Play information, streams, thumbnails.
std::vector<Route> controlRoutes(World &world);  ///< For tests and demonstrations.

} // namespace localdrive
