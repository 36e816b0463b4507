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
    m_folderName = folderId == QLatin1String("root") ? QStringLiteral("首页") : QString();
    loadFolderSetting(folderId, m_setting);
}

void FolderMemory::setFolderName(const QString &name)
{
    m_folderName = name;
    if (!m_setting.id.isNull() && m_setting.folderName.value() != name)
        save({});
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
    saveSkipTimes();
    return true;
}

bool FolderMemory::setOutroStart(int position, int duration)
{
    if (skipTimes().outroTooClose(position))
        return false;
    m_setting.skipTailPos = duration - position;
    saveSkipTimes();
    return true;
}

void FolderMemory::clearOutro()
{
    m_setting.skipTailPos = 0;
    saveSkipTimes();
}

void FolderMemory::saveSkipTimes()
{
    save([this](FolderSetting &row) {
        row.skipHeadPos = m_setting.skipHeadPos;
        row.skipTailPos = m_setting.skipTailPos;
    });
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
    save([this](FolderSetting &row) { row.subtitleTrackId = m_setting.subtitleTrackId; });
}

void FolderMemory::setAudioTrack(int id)
{
    m_setting.audioTrackId = QString::number(id);
    save([this](FolderSetting &row) { row.audioTrackId = m_setting.audioTrackId; });
}

// What others wrote to the row since it was read stays; the skip times may have been cleared.
void FolderMemory::save(const std::function<void(FolderSetting &)> &change)
{
    FolderSetting row;
    loadFolderSetting(m_folderId, row);
    row.folderId = m_folderId;
    row.userId = m_userId;
    if (!m_folderName.isEmpty())
        row.folderName = m_folderName;
    if (change)
        change(row);
    saveFolderSetting(row);
    m_setting.id = row.id;
}
