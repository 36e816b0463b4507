#pragma once

#include <QSet>
#include <QString>

#include "ui/files/folder_loader.h"
#include "ui/files/page_trail.h"

// Looks once through a folder of the drive for some entries. Deletes itself after it has told what
// came of it.
class FolderSearch final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderSearch)

public:
    FolderSearch(const UserInfo &user, const QString &folderId, const QSet<QString> &fileIds,
                 QObject *parent);
    ~FolderSearch() override;

signals:
    // Those that the folder lacks.
    void finished(const QSet<QString> &missingIds);
    // The folder could not be listed to its end.
    void failed();

private:
    void onPageLoaded(const FolderRequest &request, const FileItems &page);

    FolderLoader m_loader;
    QSet<QString> m_missing; // as far as it was looked through
    PageTrail m_trail;
};
