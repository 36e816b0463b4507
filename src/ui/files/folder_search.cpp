#include "ui/files/folder_search.h"

FolderSearch::FolderSearch(const UserInfo &user, const QString &folderId,
                           const QSet<QString> &fileIds, QObject *parent)
    : QObject(parent), m_loader(user), m_missing(fileIds)
{
    connect(&m_loader, &FolderLoader::pageLoaded, this, &FolderSearch::onPageLoaded);
    connect(&m_loader, &FolderLoader::loadFailed, this, [this] {
        deleteLater();
        emit failed();
    });
    m_loader.load({folderId, {}, FolderLoader::presentOrder()});
}

FolderSearch::~FolderSearch() = default;

void FolderSearch::onPageLoaded(const FolderRequest &request, const FileItems &page)
{
    for (const FileItem &file : page.items) {
        m_missing.remove(file.file_id);
    }
    FolderRequest next = request;
    next.marker = m_trail.next(page.next_marker, !page.items.isEmpty());
    if (!next.marker.isEmpty() && !m_missing.isEmpty()) {
        m_loader.load(next);
        return;
    }
    deleteLater();
    if (m_missing.isEmpty() || page.next_marker.isEmpty()) {
        emit finished(m_missing);
    } else {
        emit failed(); // the drive leads in a circle
    }
}
