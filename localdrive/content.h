#pragma once

#include <string>

#include "dispatcher.h"
#include "unique_fd.h"

namespace localdrive {

/// Replies with a file's bytes, or the range of them that is asked for. 404 when the descriptor
/// is none of a file.
void sendFile(const Call &call, UniqueFd opened, const std::string &contentType);

/// Opens a file that this server made.
UniqueFd openMade(const std::string &path);

/// A GET that runs only for an address that this server signed and that has not expired.
Route signedRoute(World &world, const char *path, void (*operation)(World &, Call &));

} // namespace localdrive
