#pragma once

#include <memory>
#include <string>

#include "localdrive/disk/unique_fd.h"
#include "localdrive/routes/dispatcher.h"

namespace localdrive {

// Replies with a file's bytes, or the range of them that is asked for. 404 when the descriptor
// is none of a file. What is held lives until all is sent, or the caller has gone.
void sendFile(const Call &call, UniqueFd opened, const std::string &contentType,
              const std::shared_ptr<void> &held = {});

// Opens a file that this server made.
UniqueFd openMade(const std::string &path);

// A GET that runs only for an address that this server signed and that has not expired.
Route signedRoute(Platform &platform, const char *path, void (*operation)(Platform &, Call &));

} // namespace localdrive
