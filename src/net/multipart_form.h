#pragma once

#include <memory>

#include <QHttpMultiPart>
#include <QString>
#include <QStringList>
#include <QUrlQuery>

// What an upload sends beside the form's text fields: files, or the data when no path is given.
struct UploadContent
{
    QStringList paths; // empty entries are skipped
    QByteArray data;
};

// Builds the multipart form. The files are open and read while it is sent. When one cannot be
// opened, the result is null and `error` says which and why.
std::unique_ptr<QHttpMultiPart> buildMultipartForm(const QUrlQuery &fields,
                                                   const UploadContent &content, QString &error);
