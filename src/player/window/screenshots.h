#pragma once

#include <QHash>
#include <QObject>

class MpvWidget;

// Saves what the video shows, subtitles included, as a picture in the user's folder of pictures.
// libmpv writes it meanwhile, while the window lives on.
class Screenshots final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Screenshots)

public:
    // `video` must outlive this.
    explicit Screenshots(MpvWidget &video, QObject *parent = nullptr);

    // The picture is named after the file and the second of the video; one that is there already
    // stays. An empty name: nothing is shown that could be saved.
    void take(const QString &videoName, int second);

signals:
    // What came of it, for the user.
    void told(const QString &text);

private:
    [[nodiscard]] QString freePath(const QString &folder, const QString &name) const;
    void onDone(quint64 command, bool succeeded);

    MpvWidget &m_video;
    QHash<quint64, QString> m_paths; // of what is being written, by the command
};
