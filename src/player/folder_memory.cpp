#include "player/folder_memory.h"

#include "db/tables/operations.h"

namespace {

std::optional<int> trackFromText(const QString &text)
{
    bool isNumber = false;
    const int id = text.toInt(&isNumber);
    return isNumber ? std::make_optional(id) : std::nullopt;
}

} // namespace

void FolderMemory::open(const QString &folderId, const QString &userId)
{
    m_folderId = folderId;
    m_userId = userId;
    m_folderName.clear();
    m_setting = FolderSetting();
    loadFolderSetting(folderId, m_setting);
}

QString FolderMemory::folderName() const
{
    return m_folderName.isEmpty() ? m_setting.folderName.value() : m_folderName;
}

SkipTimes FolderMemory::skipTimes() const
{
    return {m_setting.skipHeadPos.value(), m_setting.skipTailPos.value()};
}

bool FolderMemory::setIntroEnd(int position, int duration)
{
    m_setting.skipHeadPos = position;
    if (skipTimes().isTooClose(duration))
        return false;
    save();
    return true;
}

bool FolderMemory::setOutroStart(int position, int duration)
{
    if (skipTimes().outroTooClose(position))
        return false;
    m_setting.skipTailPos = duration - position;
    save();
    return true;
}

void FolderMemory::clearOutro()
{
    m_setting.skipTailPos = 0;
    save();
}

std::optional<int> FolderMemory::subtitleTrack() const
{
    return trackFromText(m_setting.subtitleTrackId.value());
}

std::optional<int> FolderMemory::audioTrack() const
{
    return trackFromText(m_setting.audioTrackId.value());
}

void FolderMemory::setSubtitleTrack(std::optional<int> id)
{
    if (id == subtitleTrack())
        return;
    m_setting.subtitleTrackId = id ? QString::number(*id) : QStringLiteral("");
    save();
}

void FolderMemory::setAudioTrack(int id)
{
    m_setting.audioTrackId = QString::number(id);
    save();
}

void FolderMemory::save()
{
    m_setting.folderId = m_folderId;
    m_setting.userId = m_userId;
    if (!m_folderName.isEmpty())
        m_setting.folderName = m_folderName;
    saveFolderSetting(m_setting);
}
