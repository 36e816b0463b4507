#pragma once

#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

inline bool canScan()
{
    return !QStandardPaths::findExecutable(QStringLiteral("zbarimg")).isEmpty();
}

// What zbarimg reads in the picture.
inline QString scanned(const QImage &picture)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("code.png"));
    picture.save(file);
    QProcess zbar;
    zbar.start(QStringLiteral("zbarimg"), {QStringLiteral("-q"), QStringLiteral("--raw"), file});
    zbar.waitForFinished();
    return QString::fromUtf8(zbar.readAllStandardOutput()).trimmed();
}
