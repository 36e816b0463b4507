#include "net/log_failure.h"

#include <QDebug>
#include <QString>

void logFailure(const QString &operation, int code, const QString &error)
{
    qDebug() << qUtf8Printable(operation + QStringLiteral(" fail :")) << code << " =>" << error;
}

void logAddressFailure(const QString &operation, const QString &error, int code)
{
    qDebug() << qUtf8Printable(operation + QStringLiteral(" fail : ")) << error << " =>" << code;
}
