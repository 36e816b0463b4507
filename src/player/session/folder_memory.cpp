#include "player/session/folder_memory.h"

#include <utility>

namespace {

bool isOfAnother(const FolderSetting &row, const QString &userId)
{
    const QString owner = row.userId.value();
    return !owner.isEmpty() && owner != userId;
}

void clearChoices(FolderSetting &row)
{
    row.skipHeadPos = 0;
    row.skipTailPos = 0;
    row.audioTrackId = QStringLiteral("");
    row.subtitleTrackId = QStringLiteral("");
    row.lastPlayFileId = QStringLiteral("");
}

} // namespace

FolderSetting folderSettingOf(const QString &folderId, const QString &userId)
{
    FolderSetting row;
    loadFolderSetting(folderId, row);
    return isOfAnother(row, userId) ? FolderSetting() : row;
}

FolderMemory::FolderMemory(const QString &folderId, QString userId) : m_userId(std::move(userId))
{
    open(folderId);
}

void FolderMemory::open(const QString &folderId)
{
    if (folderId != m_folderId) {
        m_folderName = folderId == QLatin1String("root") ? QStringLiteral("首页") : QString();
    }
    m_folderId = folderId;
    m_setting = folderSettingOf(folderId, m_userId);
}

void FolderMemory::setFolderName(const QString &name)
{
    m_folderName = name;
    if (!m_setting.id.isNull() && m_setting.folderName.value() != name) {
        save({}, OthersRow::Stays);
    }
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
    if (skipTimes().isTooClose(duration)) {
        return false;
    }
    save([position](FolderSetting &row) { row.skipHeadPos = position; });
    return true;
}

bool FolderMemory::setOutroStart(int position, int duration)
{
    if (skipTimes().outroTooClose(position)) {
        return false;
    }
    m_setting.skipTailPos = duration - position;
    save([this](FolderSetting &row) { row.skipTailPos = m_setting.skipTailPos; });
    return true;
}

void FolderMemory::clearOutro()
{
    m_setting.skipTailPos = 0;
    save([](FolderSetting &row) { row.skipTailPos = 0; }, OthersRow::Stays);
}

std::optional<TrackMemory> FolderMemory::subtitleTrack() const
{
    return TrackMemory::fromText(m_setting.subtitleTrackId.value());
}

std::optional<TrackMemory> FolderMemory::audioTrack() const
{
    return TrackMemory::fromText(m_setting.audioTrackId.value());
}

void FolderMemory::setLastPlayed(const QString &fileId)
{
    if (m_folderId.isEmpty()) {
        return; // the drive has not told where the video lies
    }
    m_setting.lastPlayFileId = fileId;
    save([&fileId](FolderSetting &row) { row.lastPlayFileId = fileId; }, OthersRow::Stays);
}

void FolderMemory::setSubtitleTrack(const std::optional<TrackMemory> &track)
{
    if (track == subtitleTrack()) {
        return;
    }
    m_setting.subtitleTrackId = track ? track->toText() : QStringLiteral("");
    save([this](FolderSetting &row) { row.subtitleTrackId = m_setting.subtitleTrackId; });
}

void FolderMemory::setAudioTrack(const TrackMemory &track)
{
    m_setting.audioTrackId = track.toText();
    save([this](FolderSetting &row) { row.audioTrackId = m_setting.audioTrackId; });
}

// What others wrote to the row since it was read stays; the skip times may have been cleared.
void FolderMemory::save(const FolderChange &change, OthersRow othersRow)
{
    FolderSetting row;
    changeFolderSetting(
        m_folderId,
        [this, &change, othersRow](FolderSetting &stored) {
            if (isOfAnother(stored, m_userId)) {
                if (othersRow == OthersRow::Stays) {
                    return;
                }
                clearChoices(stored);
            }
            stored.userId = m_userId;
            if (!m_folderName.isEmpty()) {
                stored.folderName = m_folderName;
            }
            if (change) {
                change(stored);
            }
        },
        row);
    if (!isOfAnother(row, m_userId)) {
        m_setting.id = row.id;
    }
}
