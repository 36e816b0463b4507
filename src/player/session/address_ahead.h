#pragma once

#include <memory>

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

    // The addresses of a video that is being opened; new ones when it is another.
    [[nodiscard]] std::unique_ptr<PlayAddress> take(const UserInfo &user, const FileItem &file)
    {
        const bool isNext = m_address && m_fileId == file.file_id;
        m_fileId.clear();
        return isNext ? std::move(m_address) : std::make_unique<PlayAddress>(user, file);
    }

private:
    QString m_fileId;
    std::unique_ptr<PlayAddress> m_address;
};
