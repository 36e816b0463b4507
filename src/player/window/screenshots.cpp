#include "player/window/screenshots.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include "app/environment/file_name.h"
#include "app/environment/formatting.h"
#include "player/mpv/mpv_widget.h"

Screenshots::Screenshots(MpvWidget &video, QObject *parent) : QObject(parent), m_video(video)
{
    connect(&m_video, &MpvWidget::commandDone, this, &Screenshots::onDone);
}

void Screenshots::take(const QString &videoName, int second)
{
    if (videoName.isEmpty()) {
        emit told(QStringLiteral("没有可以截图的画面"));
        return;
    }
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    if (!QDir().mkpath(folder) || !QFileInfo(folder).isWritable()) {
        emit told(QStringLiteral("截图未保存，无法写入文件夹：%1").arg(folder));
        return;
    }
    const QString name = safeFileName(QFileInfo(videoName).completeBaseName());
    const QString time = formatClock(second).replace(QLatin1Char(':'), QLatin1Char('-'));
    const QString path = freePath(folder, name + QLatin1Char(' ') + time);
    const quint64 command = m_video.commandAsync(
        QVariantList{QStringLiteral("screenshot-to-file"), path, QStringLiteral("subtitles")});
    m_paths.insert(command, path);
    if (command == 0) {
        onDone(command, false);
    }
}

QString Screenshots::freePath(const QString &folder, const QString &name) const
{
    const QStringList taken = m_paths.values();
    QString path = QStringLiteral("%1/%2.png").arg(folder, name);
    for (int number = 2; QFile::exists(path) || taken.contains(path); ++number) {
        path = QStringLiteral("%1/%2 (%3).png").arg(folder, name).arg(number);
    }
    return path;
}

void Screenshots::onDone(quint64 command, bool succeeded)
{
    const QString path = m_paths.take(command);
    if (path.isEmpty()) {
        return;
    }
    const QString name = QFileInfo(path).fileName();
    if (succeeded) {
        emit told(QStringLiteral("截图已保存：%1").arg(withVisibleOverrides(name)));
        return;
    }
    QFile::remove(path); // what could not be written to its end
    emit told(QStringLiteral("截图未保存：%1").arg(withVisibleOverrides(name)));
}
