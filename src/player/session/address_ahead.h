#pragma once

#include <memory>
#include <utility>

#include <QString>

#include "player/session/play_address.h"

// The addresses of the video whose turn comes next, so that it has not to wait for the drive.
class AddressAhead final
{
public:
    // Asks for the video's addresses, unless they were asked for not long ago.
    void fetch(const UserInfo &user, const FileItem &file)
    {
        if (!m_address || m_fileId != file.file_id || m_address->isStale()) {
            m_fileId = file.file_id;
            m_address = std::make_unique<PlayAddress>(user, file);
            m_address->fetchAhead();
        }
    }

    // The addresses of a video that is being opened; new ones when it is another, whose requests
    // those for the one that was next must not hold up.
    [[nodiscard]] std::unique_ptr<PlayAddress> take(const UserInfo &user, const FileItem &file)
    {
        auto ahead = std::exchange(m_address, nullptr);
        const bool isNext = ahead && m_fileId == file.file_id;
        return isNext ? std::move(ahead) : std::make_unique<PlayAddress>(user, file);
    }

private:
    QString m_fileId;
    std::unique_ptr<PlayAddress> m_address;
};
