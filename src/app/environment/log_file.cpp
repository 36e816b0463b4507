#include "app/environment/log_file.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QTextCodec>

namespace {

// Info messages have no template: their records hold the time only.
QString templateOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("Debug: %1 (%2:%3, %4)\n");
    case QtWarningMsg:
        return QStringLiteral("Warning: %1 (%2:%3, %4)\n");
    case QtCriticalMsg:
        return QStringLiteral("Critical: %1 (%2:%3, %4)\n");
    case QtFatalMsg:
        return QStringLiteral("Fatal: %1 (%2:%3, %4)\n");
    case QtInfoMsg:
        break;
    }
    return {};
}

QString textOf(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtInfoMsg) {
        return {};
    }
    return templateOf(type)
        .arg(message)
        .arg(QString::fromUtf8(context.file))
        .arg(context.line)
        .arg(QString::fromUtf8(context.function));
}

} // namespace

void fileMessageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QString time =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz "));
    const QString record = time + textOf(type, context, message) + QLatin1Char('\n');

    // Unbuffered appending writes a record in one call, so that records of several threads or
    // processes never mix.
    QFile file(QCoreApplication::applicationDirPath() + QStringLiteral("/error.log"));
    if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        file.write(QTextCodec::codecForLocale()->fromUnicode(record));
    }
}
