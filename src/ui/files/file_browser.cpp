#include "ui/files/file_browser.h"

#include <limits>

#include <QScrollBar>

#include "api/session/session.h"
#include "ui/files/file_kinds.h"
#include "ui/files/file_table.h"

namespace {

int indexOf(const QList<FileItem> &files, const QString &fileId)
{
    const auto found = std::find_if(files.begin(), files.end(), [&fileId](const FileItem &file) {
        return file.file_id == fileId;
    });
    return found == files.end() ? -1 : int(found - files.begin());
}

} // namespace

FileBrowser::FileBrowser(const UserInfo &user, FileTable *table, QObject *parent)
    : QObject(parent), m_table(table), m_loader(user, this)
{
    connect(&m_loader, &FolderLoader::pageLoaded, this, &FileBrowser::onPageLoaded);
    connect(&m_loader, &FolderLoader::loadFailed, this, &FileBrowser::onLoadFailed);
    m_viewCheck.setSingleShot(true);
    connect(&m_viewCheck, &QTimer::timeout, this, &FileBrowser::followView);
    connect(this, &FileBrowser::stateChanged, &m_viewCheck, qOverload<>(&QTimer::start));
    connect(table, &FileTable::viewChanged, &m_viewCheck, qOverload<>(&QTimer::start));
    connect(table, &FileTable::pushedAtEnd, this, &FileBrowser::retry);
    connect(table, &FileTable::retryClicked, this, &FileBrowser::retry);
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &FileBrowser::retry);
}

const FileItem *FileBrowser::file(const QString &fileId) const
{
    const QList<FileItem> &files = m_path.last().files;
    const int index = indexOf(files, fileId);
    return index < 0 ? nullptr : &files.at(index);
}

QList<FileItem> FileBrowser::files(const QStringList &fileIds) const
{
    QHash<QString, const FileItem *> byId;
    for (const FileItem &file : m_path.last().files) {
        byId.insert(file.file_id, &file);
    }
    QList<FileItem> files;
    for (const QString &fileId : fileIds) {
        if (const FileItem *file = byId.value(fileId)) {
            files.append(*file);
        }
    }
    return files;
}

QList<FileItem> FileBrowser::videos() const
{
    QList<FileItem> videos = files(m_table->fileIds());
    videos.erase(std::remove_if(videos.begin(), videos.end(),
                                [](const FileItem &file) { return !isVideo(file); }),
                 videos.end());
    return videos;
}

void FileBrowser::openFolder(const FileItem &folder)
{
    rememberRow(m_table->rowOf(folder.file_id));
    if (m_reloadIsDue) {
        m_path.forget(folderId());
    }
    m_path.push(folder.name, folder.file_id);
    loadFirstPage({});
}

void FileBrowser::goTo(int index)
{
    if (index < 0 || index >= m_path.count() - 1) {
        return;
    }
    m_path.removeAfter(index);
    if (m_path.last().loaded) {
        showStoredFiles();
    } else {
        loadFirstPage(placeRemembered());
    }
}

void FileBrowser::reload(const QString &select)
{
    // A place that is still searched is not where the user stands meanwhile.
    Place place = m_place.isFound ? placeInTable() : m_place;
    if (!select.isEmpty()) {
        place = Place();
        place.currentId = select;
        place.isFound = false;
    }
    loadFirstPage(place);
}

void FileBrowser::reloadGently(const QString &select)
{
    m_reloadIsDue = true;
    if (!select.isEmpty()) {
        m_selectWhenDue = select;
    }
    followView();
}

void FileBrowser::listAnew(const QString &folderId)
{
    forget(folderId);
    if (this->folderId() == folderId) {
        reloadGently();
    }
}

FileBrowser::Place FileBrowser::placeInTable() const
{
    Place place = placeRemembered();
    const QString currentId = m_table->currentFileId();
    if (!currentId.isEmpty()) {
        place.currentId = currentId;
        place.row = m_table->currentRow();
    }
    const QStringList selected = m_table->selectedFileIds();
    place.selectedIds = QSet<QString>(selected.begin(), selected.end());
    place.atTop = m_table->verticalScrollBar()->value() == 0;
    place.topId = place.atTop ? QString() : m_table->fileIdAt(m_table->rowAt(0));
    place.isFound =
        place.currentId.isEmpty() && place.topId.isEmpty() && place.selectedIds.isEmpty();
    return place;
}

// What was selected may be as deep as many entries have come before it. The rest of the place is
// not worth as many pages: it is expected about as deep as it was, unless the drive's order is
// another.
FileBrowser::Place FileBrowser::placeRemembered() const
{
    const PathItem &folder = m_path.last();
    Place place;
    place.currentId = folder.selectedFileId;
    place.row = folder.selectedRow;
    place.isFound = place.currentId.isEmpty();
    place.searchedCount = folder.order == FolderLoader::presentOrder()
                              ? folder.files.size() + FolderLoader::PageSize
                              : std::numeric_limits<int>::max();
    return place;
}

void FileBrowser::loadFirstPage(const Place &place)
{
    m_loader.abandon();
    m_reloadIsDue = false;
    m_selectWhenDue.clear();
    m_place = place;
    m_place.standInId.clear();
    m_path.clearFiles();
    request(false);
    m_table->setFiles({});
    tellState();
}

void FileBrowser::retry()
{
    if (!m_failed) {
        return;
    }
    if (m_path.last().loaded) {
        request(true);
        tellState();
    } else {
        loadFirstPage(m_place);
    }
}

void FileBrowser::request(bool append)
{
    const PathItem &folder = m_path.last();
    FolderRequest request;
    request.folderId = folder.fileId;
    request.order = folder.order;
    if (append) {
        request.marker = folder.nextMarker;
    }
    m_removedMeanwhile.clear();
    m_updatedMeanwhile.clear();
    m_failed = false;
    m_loader.load(request);
}

bool FileBrowser::needsMore() const
{
    return m_table->isFiltered() || !m_place.isFound || m_table->isAtEnd();
}

// What failed is not asked for again by itself: a drive that fails would be asked without end.
void FileBrowser::followView()
{
    if (m_reloadIsDue && !m_table->isEditing()) {
        reload(m_selectWhenDue);
    } else if (!m_failed && hasMore() && !isLoading() && needsMore()) {
        request(true);
        tellState();
    }
}

void FileBrowser::onPageLoaded(const FolderRequest &request, const FileItems &page)
{
    const QList<FileItem> files = upToDate(page.items);
    m_path.addPage(files, !page.items.isEmpty(), page.next_marker, request.order);
    const bool isElsewhere = hasUserLeft();
    addFiles(files);
    m_place.isFound = m_place.isFound || isElsewhere;
    findPlace();
    emit countChanged(loadedCount());
    emit filled();
    tellState();
}

void FileBrowser::addFiles(const QList<FileItem> &files)
{
    const bool followsRow = isCurrentRowVisible();
    m_table->appendFiles(files);
    // What the user selects, or renames, while a further page is on its way stays as it is.
    if (m_table->currentItem() && followsRow) {
        m_table->scrollToItem(m_table->currentItem());
    }
}

// A page asked for in another order, or after a change in the drive, may repeat entries; one that
// was made before a change does not know of it.
QList<FileItem> FileBrowser::upToDate(const QList<FileItem> &page) const
{
    QSet<QString> ids = m_removedMeanwhile;
    QList<FileItem> files;
    for (const FileItem &file : page) {
        if (m_table->contains(file.file_id) || ids.contains(file.file_id)) {
            continue;
        }
        ids.insert(file.file_id);
        files.append(m_updatedMeanwhile.value(file.file_id, file));
    }
    return files;
}

void FileBrowser::findPlace()
{
    if (m_place.isFound) {
        if (!m_table->currentItem()) {
            m_table->makeCurrent(QString(), m_place.row, FileTable::Scroll::ToRow);
        }
        return;
    }
    m_place.isFound = !hasMore() || isPlaceThere();
    if (m_place.isFound) {
        restorePlace();
        return;
    }
    if (m_place.standInId.isEmpty()) {
        m_table->makeCurrent(QString(), 0, FileTable::Scroll::Stay);
        m_place.standInId = m_table->currentFileId();
    }
    m_place.topRow = m_table->topRow();
}

// Since the page before: by another row or by scrolling. Nobody is taken back to a place that is
// found late.
bool FileBrowser::hasUserLeft()
{
    return !m_place.standInId.isEmpty() &&
           (m_table->currentFileId() != m_place.standInId || m_table->topRow() != m_place.topRow);
}

bool FileBrowser::isPlaceThere() const
{
    const auto isThere = [this](const QString &fileId) {
        return fileId.isEmpty() || m_table->contains(fileId);
    };
    const QSet<QString> &selected = m_place.selectedIds;
    return isThere(m_place.currentId) && std::all_of(selected.begin(), selected.end(), isThere) &&
           (isThere(m_place.topId) || loadedCount() >= m_place.searchedCount);
}

void FileBrowser::restorePlace()
{
    const int top = m_table->rowOf(m_place.topId);
    const bool keepsView = m_place.atTop || top >= 0;
    m_table->makeCurrent(m_place.currentId, m_place.row,
                         keepsView ? FileTable::Scroll::Stay : FileTable::Scroll::ToRow);
    m_table->selectFiles(m_place.selectedIds);
    if (m_place.atTop) {
        m_table->scrollToTop();
    } else if (top >= 0) {
        m_table->scrollTo(m_table->model()->index(top, 0), QAbstractItemView::PositionAtTop);
    }
}

void FileBrowser::onLoadFailed()
{
    m_failed = true;
    if (loadedCount() == 0) {
        emit countChanged(0);
    }
    tellState();
}

void FileBrowser::showStoredFiles()
{
    const PathItem &folder = m_path.last();
    m_loader.abandon();
    m_reloadIsDue = false;
    m_selectWhenDue.clear();
    m_place = Place();
    m_failed = false;
    m_table->setFiles(folder.files);
    m_table->makeCurrent(folder.selectedFileId, folder.selectedRow, FileTable::Scroll::ToRow);
    emit countChanged(folder.files.size());
    emit filled();
    tellState();
}

void FileBrowser::removeFile(const QString &fileId, const QString &newFolderId)
{
    m_path.removeFile(fileId, newFolderId);
    m_path.forget(newFolderId);
    if (folderId() == newFolderId) {
        return;
    }
    m_removedMeanwhile.insert(fileId);
    const int row = m_table->rowOf(fileId);
    if (row < 0) {
        return;
    }
    const bool wasVisible = isCurrentRowVisible();
    m_table->removeFile(fileId);
    // The reply may come late: what the user has selected by now stays selected.
    if (!m_table->selectionModel()->hasSelection()) {
        m_table->makeCurrent(QString(), row,
                             wasVisible ? FileTable::Scroll::ToRow : FileTable::Scroll::Stay);
    }
    emit countChanged(loadedCount());
    tellState();
}

void FileBrowser::updateFile(const QString &folderId, const FileItem &file)
{
    m_updatedMeanwhile.insert(file.file_id, file);
    m_table->updateFile(file);
    // A change puts an entry elsewhere in the drive's order: between the pages of a listing that
    // was begun meanwhile it is in none.
    if (!m_path.updateFile(folderId, file)) {
        listAnew(folderId);
    }
}

void FileBrowser::rememberRow(int row)
{
    m_path.remember(qMax(0, row), m_table->fileIdAt(qMax(0, row)));
}

void FileBrowser::tellState()
{
    const bool isExpected = isLoading() || (hasMore() && !m_failed);
    m_table->setRest(isExpected ? FileTable::Rest::Expected
                     : m_failed ? FileTable::Rest::Failed
                                : FileTable::Rest::None);
    emit stateChanged();
}

bool FileBrowser::isCurrentRowVisible() const
{
    const QTableWidgetItem *current = m_table->currentItem();
    return current && m_table->viewport()->rect().intersects(m_table->visualItemRect(current));
}
