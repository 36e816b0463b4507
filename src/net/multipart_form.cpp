#include "net/multipart_form.h"

#include <QFile>
#include <QFileInfo>

namespace {

// A quotation mark or a line break would end the header's text; browsers write them this way.
QString escapedName(QString name)
{
    return name.replace(QLatin1Char('"'), QLatin1String("%22"))
        .replace(QLatin1Char('\r'), QLatin1String("%0D"))
        .replace(QLatin1Char('\n'), QLatin1String("%0A"));
}

QHttpPart namedPart(const QString &disposition)
{
    QHttpPart part;
    part.setRawHeader(QByteArrayLiteral("Content-Disposition"), disposition.toUtf8());
    return part;
}

QHttpPart textPart(const QString &name, const QString &value)
{
    QHttpPart part = namedPart(QStringLiteral("form-data; name=\"%1\"").arg(escapedName(name)));
    part.setBody(value.toUtf8());
    return part;
}

QHttpPart contentPart(const QString &name, const QString &fileName)
{
    return namedPart(
        QStringLiteral("form-data; name=\"%1\"; filename=\"%2\"").arg(name, escapedName(fileName)));
}

bool appendFile(QHttpMultiPart &form, const QString &partName, const QString &path, QString &error)
{
    auto *file = new QFile(path, &form);
    if (!file->open(QIODevice::ReadOnly)) {
        error = QStringLiteral("打开文件失败[%2]: %1").arg(path, file->errorString());
        return false;
    }
    QHttpPart part = contentPart(partName, QFileInfo(path).fileName());
    part.setBodyDevice(file);
    form.append(part);
    return true;
}

bool appendContent(QHttpMultiPart &form, const UploadContent &content, QString &error)
{
    if (content.paths.isEmpty()) {
        QHttpPart part = contentPart(QStringLiteral("file"), QStringLiteral("no-name"));
        part.setBody(content.data);
        form.append(part);
        return true;
    }
    const QString partName =
        content.paths.size() == 1 ? QStringLiteral("file") : QStringLiteral("files");
    for (const QString &path : content.paths) {
        if (!path.isEmpty() && !appendFile(form, partName, path, error)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::unique_ptr<QHttpMultiPart> buildMultipartForm(const QUrlQuery &fields,
                                                   const UploadContent &content, QString &error)
{
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    for (const auto &[name, value] : fields.queryItems(QUrl::FullyDecoded)) {
        form->append(textPart(name, value));
    }
    if (!appendContent(*form, content, error)) {
        return nullptr;
    }
    return form;
}
