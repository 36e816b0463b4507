#pragma once

#include <QObject>

#include "db/tables/user_info.h"
#include "player/play_quality.h"

class FileItem;
class VideoPreviewPlayInfo;

// Finds out from where a video can be played: the drive's transcoded streams, then the source
// file. Failures are logged and end without `ready`; they leave no addresses.
class PlayAddress final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlayAddress)

public:
    explicit PlayAddress(QObject *parent = nullptr);

    // Asks for the addresses of `file`; `wantedQuality` becomes the current entry, or the one that
    // choosePlayable() puts in its place. A request that is still on its way is forgotten.
    void request(const UserInfo &user, const FileItem &file, const QString &wantedQuality);

    // In the drive's order, the source last and only if its address could be obtained.
    [[nodiscard]] const QList<QualityEntry> &entries() const { return m_entries; }
    [[nodiscard]] QString currentId() const;
    // Empty when nothing can be played.
    [[nodiscard]] QString currentUrl() const;

    // Makes an entry the current one. False when it has no address or does not exist; a request
    // that is still on its way then looks for it.
    bool choose(const QString &id);

signals:
    void ready();
    // The play information could not be had.
    void unavailable();

private:
    void takePlayInfo(const VideoPreviewPlayInfo &info);
    void requestSource(const UserInfo &user, const FileItem &file);
    void finish();

    QList<QualityEntry> m_entries;
    QString m_wanted;
    int m_current = -1;
    int m_sourceWidth = 0;
    int m_sourceHeight = 0;
    int m_generation = 0; // of the request whose replies count
};
