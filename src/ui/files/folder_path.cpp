#include "ui/files/folder_path.h"

#include <QDebug>

#include "ui/widgets/name_text.h"

namespace {

constexpr int LongestName = 20;

QString shortened(const QString &name)
{
    if (name.size() <= LongestName) {
        return name;
    }
    QString start = name.left(LongestName - 1);
    if (start.at(start.size() - 1).isHighSurrogate()) {
        start.chop(1);
    }
    return start + QStringLiteral("…");
}

} // namespace

FolderPath::FolderPath(QObject *parent) : QObject(parent)
{
    push(QStringLiteral("首页"), QStringLiteral("root"));
}

void FolderPath::push(const QString &name, const QString &fileId)
{
    PathItem item;
    item.name = name;
    item.fileId = fileId;
    m_items.append(item);
    auto *row = new QStandardItem;
    row->setEditable(false);
    m_model.appendRow(row);
    if (count() > 1) {
        showRow(count() - 2);
    }
    showRow(count() - 1);
    qDebug() << "added path item size:" << count();
}

void FolderPath::removeAfter(int index)
{
    if (index < 0 || index >= count() - 1) {
        return;
    }
    for (int last = count() - 1; last > index; --last) {
        m_items.removeLast();
        m_model.removeRow(last);
        qDebug() << "remove path item:" << last << "row count:" << m_model.rowCount();
    }
    showRow(index);
}

void FolderPath::remember(int row, const QString &fileId)
{
    m_items.last().selectedRow = row;
    m_items.last().selectedFileId = fileId;
}

void FolderPath::clearFiles()
{
    PathItem &folder = m_items.last();
    folder.files.clear();
    folder.nextMarker.clear();
    folder.trail = PageTrail();
    folder.loaded = false;
}

void FolderPath::addPage(const QList<FileItem> &newFiles, bool broughtEntries,
                         const QString &nextMarker, const QString &order)
{
    PathItem &folder = m_items.last();
    folder.files += newFiles;
    if (folder.order != order) {
        folder.trail = PageTrail();
    }
    folder.nextMarker = folder.trail.next(nextMarker, broughtEntries);
    folder.order = order;
    folder.loaded = true;
}

void FolderPath::removeFile(const QString &fileId, const QString &newFolderId)
{
    for (PathItem &item : m_items) {
        if (item.fileId == newFolderId) {
            continue;
        }
        const auto gone =
            std::remove_if(item.files.begin(), item.files.end(),
                           [&fileId](const FileItem &file) { return file.file_id == fileId; });
        item.files.erase(gone, item.files.end());
    }
}

int FolderPath::indexOf(const QString &folderId) const
{
    const auto found =
        std::find_if(m_items.begin(), m_items.end(),
                     [&folderId](const PathItem &item) { return item.fileId == folderId; });
    return found == m_items.end() ? -1 : int(found - m_items.begin());
}

bool FolderPath::updateFile(const QString &folderId, const FileItem &file)
{
    bool isHeld = true;
    for (int index = 0; index < count(); ++index) {
        PathItem &item = m_items[index];
        if (item.fileId == file.file_id) {
            item.name = file.name;
            showRow(index);
        }
        bool isKnown = false;
        for (FileItem &known : item.files) {
            if (known.file_id == file.file_id) {
                known = file;
                isKnown = true;
            }
        }
        isHeld = isHeld && (isKnown || item.fileId != folderId);
    }
    return isHeld;
}

void FolderPath::forget(const QString &folderId)
{
    for (PathItem &item : m_items) {
        if (item.fileId == folderId) {
            item.loaded = false;
        }
    }
}

void FolderPath::showRow(int index)
{
    const QString &name = m_items.at(index).name;
    const QString text = shortened(visibleName(name));
    const bool isLast = index == count() - 1;
    m_model.item(index)->setText(isLast ? text : text + QLatin1Char('>'));
    m_model.item(index)->setToolTip(nameTip(name));
}
