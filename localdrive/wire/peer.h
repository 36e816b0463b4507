#pragma once

namespace localdrive {

// Whether the other end of a connection over this machine's own network is a program of the user
// that this program runs as.
bool isOwnPeer(int socket);

} // namespace localdrive
