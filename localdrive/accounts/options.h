#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "localdrive/accounts/application.h"
#include "localdrive/accounts/rules.h"
#include "localdrive/wire/patience.h"

namespace localdrive {

// One user of the drive. Empty texts are filled in from the account's number (0, 1, ...).
struct AccountOptions
{
    std::string root; // Folder to serve; empty: an own temporary folder, gone with the server.
    bool writable = true;
    std::string userId;
    std::string driveId;
    std::string nickName;
    std::string phone;
    std::string avatar;
    std::string status = "enabled";
    std::int64_t totalSpace = std::int64_t{1} << 40;
};

struct Options
{
    int port = 0; // 0: any free port.
    std::vector<AccountOptions> accounts = {AccountOptions{}};
    // Serve programs of the user that this one runs as, and nobody else; a person who confirms a
    // login shows the control secret.
    bool ownerOnly = false;
    Patience patience;
    ApplicationOptions application;
    // Tokens, file ids and made media are kept here across runs; empty: a temporary folder.
    std::string stateDir;
    Milliseconds tokenLifetime = std::chrono::hours(2);
    Milliseconds qrCodeLifetime = std::chrono::minutes(3);
    std::optional<Milliseconds> autoLogin; // Scan and confirm every QR code after this time.
    Rules rules;
    bool offerThumbnails = true;
    bool probeListedVideos = false; // Measure videos in the background once they are listed.
};

} // namespace localdrive
