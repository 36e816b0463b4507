#include "app/file_icons/file_icons.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileIconProvider>
#include <QTemporaryFile>

#include "app/environment/file_name.h"

namespace {

// Far more than any extension that a platform knows.
constexpr int MaximumSuffixLength = 32;

QString temporaryFileTemplate(const QString &suffix)
{
    const QString safeSuffix = suffix.isEmpty() ? suffix : safeFileName(suffix);
    return QDir::tempPath() + QDir::separator() + QCoreApplication::applicationName() +
           QStringLiteral("_XXXXXX.") + safeSuffix.left(MaximumSuffixLength);
}

bool create(QTemporaryFile &file)
{
    if (!file.open()) {
        qCritical().noquote()
            << QStringLiteral("failed to write temporary file %1").arg(file.fileTemplate());
        return false;
    }
    file.close();
    return true;
}

} // namespace

QIcon iconForExtension(const QString &suffix)
{
    const QString path = temporaryFileTemplate(suffix);
    QTemporaryFile file(path);
    if (!create(file)) {
        return {};
    }
    return QFileIconProvider().icon(QFileInfo(path));
}

QString typeForExtension(const QString &suffix)
{
    QTemporaryFile file(temporaryFileTemplate(suffix));
    file.setAutoRemove(false);
    if (!create(file)) {
        return {};
    }
    return QFileIconProvider().type(QFileInfo(file.fileName()));
}
