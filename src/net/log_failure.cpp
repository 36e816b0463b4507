#include "net/log_failure.h"

#include <QDebug>
#include <QString>

void logFailure(const QString &operation, int code, const QString &error)
{
    qDebug() << qUtf8Printable(operation + QStringLiteral(" fail :")) << code << " =>" << error;
}
