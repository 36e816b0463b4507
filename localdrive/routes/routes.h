#pragma once

#include <vector>

#include "localdrive/routes/dispatcher.h"

// The operations, by whom they belong to in the platform's world.
namespace localdrive {

std::vector<Route> userRoutes(Platform &platform); // Open API: user, drive, space, VIP.
std::vector<Route> fileRoutes(
    Platform &platform); // Open API: listing, details, addresses, changes.
std::vector<Route> oauthRoutes(Platform &platform);    // Open API: QR codes, tokens.
std::vector<Route> loginRoutes(Platform &platform);    // Scan status, and what the phone opens.
std::vector<Route> backendGate(Platform &platform);    // Product backend: handed on to it.
std::vector<Route> downloadRoutes(Platform &platform); // Contents of files.
std::vector<Route> playRoutes(Platform &platform);     // Play information, streams, thumbnails.
std::vector<Route> controlRoutes(Platform &platform);  // For tests and demonstrations.

} // namespace localdrive
