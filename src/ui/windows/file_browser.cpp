#include "ui/windows/file_browser.h"

#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSet>

#include "app/environment/app_settings.h"
#include "ui/windows/file_kinds.h"
#include "ui/windows/file_table.h"

namespace {

QString listOrder()
{
    const AppSettings settings;
    return settings.fileListOrderBy() + QLatin1Char(' ') + settings.fileOrderDirection();
}

// A page asked for in another order, or after a change in the drive, may repeat entries.
QList<FileItem> unseen(const FileTable &table, const QList<FileItem> &page)
{
    QSet<QString> ids;
    QList<FileItem> files;
    for (const FileItem &file : page) {
        if (table.contains(file.file_id) || ids.contains(file.file_id))
            continue;
        ids.insert(file.file_id);
        files.append(file);
    }
    return files;
}

int indexOf(const QList<FileItem> &files, const QString &fileId)
{
    const auto found = std::find_if(files.begin(), files.end(), [&fileId](const FileItem &file) {
        return file.file_id == fileId;
    });
    return found == files.end() ? -1 : int(found - files.begin());
}

Notice emptyFolder()
{
    return {QStringLiteral("这个文件夹是空的"), QStringLiteral(":/image/folder.svg")};
}

} // namespace

FileBrowser::FileBrowser(const UserInfo &user, FileTable *table, QObject *parent)
    : QObject(parent), m_table(table), m_loader(user, this)
{
    connect(&m_loader, &FolderLoader::loadingChanged, this, &FileBrowser::loadingChanged);
    connect(&m_loader, &FolderLoader::loadingChanged, table, &FileTable::setLoading);
    connect(&m_loader, &FolderLoader::pageLoaded, this, &FileBrowser::takePage);
    connect(&m_loader, &FolderLoader::loadFailed, this, &FileBrowser::takeFailure);
}

const FileItem *FileBrowser::file(const QString &fileId) const
{
    const QList<FileItem> &files = m_path.last().files;
    const int index = indexOf(files, fileId);
    return index < 0 ? nullptr : &files.at(index);
}

QList<FileItem> FileBrowser::videos() const
{
    QHash<QString, const FileItem *> byId;
    for (const FileItem &file : m_path.last().files) {
        if (isVideo(file))
            byId.insert(file.file_id, &file);
    }
    QList<FileItem> videos;
    for (const QString &fileId : m_table->fileIds()) {
        if (const FileItem *video = byId.value(fileId))
            videos.append(*video);
    }
    return videos;
}

bool FileBrowser::openFolder(const FileItem &folder)
{
    if (isLoading())
        return false;
    rememberRow(m_table->rowOf(folder.file_id));
    m_path.push(folder.name, folder.file_id);
    load(false);
    return true;
}

void FileBrowser::goTo(int index)
{
    if (index < 0 || index >= m_path.count() - 1)
        return;
    m_reloadWanted = false;
    m_loader.abandon();
    m_path.removeAfter(index);
    if (m_path.last().loaded)
        showStoredFiles();
    else
        load(false);
}

void FileBrowser::reload()
{
    if (isLoading()) {
        m_reloadWanted = true;
        return;
    }
    rememberRow(m_table->currentRow());
    load(false);
}

void FileBrowser::loadNextPage()
{
    if (m_filling || isLoading() || m_path.last().nextMarker.isEmpty())
        return;
    load(true);
}

void FileBrowser::fillView()
{
    if (m_table->verticalScrollBar()->maximum() == 0)
        loadNextPage();
}

void FileBrowser::load(bool append)
{
    FolderRequest request;
    request.append = append;
    request.order = listOrder();
    PathItem &folder = m_path.last();
    request.folderId = folder.fileId;
    // A marker of another order would skip entries: go through the pages again from the first.
    if (append && request.order == folder.order)
        request.marker = folder.nextMarker;
    m_loader.load(request);
    if (append)
        return;
    folder.files.clear();
    folder.nextMarker.clear();
    folder.loaded = false;
    const QScopedValueRollback<bool> filling(m_filling, true);
    m_table->setFiles({});
}

void FileBrowser::takePage(const FolderRequest &request, const FileItems &page)
{
    PathItem &folder = m_path.last();
    const QList<FileItem> files = unseen(*m_table, page.items);
    folder.fileId = request.folderId;
    folder.nextMarker = page.next_marker == request.marker ? QString() : page.next_marker;
    folder.order = request.order;
    folder.loaded = true;
    folder.files += files;
    m_table->setNotice(emptyFolder());
    {
        const QScopedValueRollback<bool> filling(m_filling, true);
        const bool followsRow = isCurrentRowVisible();
        m_table->appendFiles(files);
        // What the user selects, or renames, while a further page is on its way stays as it is.
        if (!request.append || !m_table->currentItem())
            m_table->makeCurrent(folder.selectedFileId, folder.selectedRow,
                                 FileTable::Scroll::ToRow);
        else if (followsRow)
            m_table->scrollToItem(m_table->currentItem());
    }
    emit countChanged(folder.files.size());
    emit filled();
    continueLoading(files.isEmpty());
}

void FileBrowser::takeFailure(const FolderRequest &request)
{
    if (!request.append) {
        m_table->setNotice(
            {QStringLiteral("列表加载失败，按 F5 重试"), QStringLiteral(":/image/refresh.png")});
        emit countChanged(0);
    }
    // Nothing else goes on by itself: a drive that fails would be asked without end.
    if (std::exchange(m_reloadWanted, false))
        reload();
}

void FileBrowser::continueLoading(bool nothingNew)
{
    if (std::exchange(m_reloadWanted, false)) {
        reload();
        return;
    }
    if (nothingNew)
        loadNextPage();
    else
        fillView();
}

void FileBrowser::showStoredFiles()
{
    const PathItem &folder = m_path.last();
    m_table->setNotice(emptyFolder());
    {
        const QScopedValueRollback<bool> filling(m_filling, true);
        m_table->setFiles(folder.files);
        m_table->makeCurrent(folder.selectedFileId, folder.selectedRow, FileTable::Scroll::ToRow);
    }
    emit countChanged(folder.files.size());
    emit filled();
}

void FileBrowser::removeFile(const QString &fileId)
{
    m_path.removeFile(fileId);
    const int row = m_table->rowOf(fileId);
    if (row < 0)
        return;
    const bool wasVisible = isCurrentRowVisible();
    m_table->removeFile(fileId);
    // The reply may come late: what the user has selected by now stays selected.
    if (!m_table->selectionModel()->hasSelection())
        m_table->makeCurrent(QString(), row,
                             wasVisible ? FileTable::Scroll::ToRow : FileTable::Scroll::Stay);
    emit countChanged(m_path.last().files.size());
}

void FileBrowser::setFileName(const QString &fileId, const QString &name)
{
    m_path.setFileName(fileId, name);
    m_table->setFileName(fileId, name);
}

void FileBrowser::rememberRow(int row)
{
    PathItem &folder = m_path.last();
    folder.selectedRow = qMax(0, row);
    folder.selectedFileId = m_table->fileIdAt(folder.selectedRow);
}

bool FileBrowser::isCurrentRowVisible() const
{
    const QTableWidgetItem *current = m_table->currentItem();
    return current && m_table->viewport()->rect().intersects(m_table->visualItemRect(current));
}
