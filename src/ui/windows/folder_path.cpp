#include "ui/windows/folder_path.h"

#include <QDebug>

namespace {

constexpr int LongestName = 20;

QString shortened(const QString &name)
{
    if (name.size() <= LongestName)
        return name;
    QString start = name.left(LongestName - 1);
    if (start.at(start.size() - 1).isHighSurrogate())
        start.chop(1);
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
    row->setToolTip(name);
    m_model.appendRow(row);
    if (count() > 1)
        showRow(count() - 2);
    showRow(count() - 1);
    qDebug() << "added path item size:" << count();
}

void FolderPath::removeAfter(int index)
{
    if (index < 0 || index >= count() - 1)
        return;
    for (int last = count() - 1; last > index; --last) {
        m_items.removeLast();
        m_model.removeRow(last);
        qDebug() << "remove path item:" << last << "row count:" << m_model.rowCount();
    }
    showRow(index);
}

void FolderPath::removeFile(const QString &fileId)
{
    for (PathItem &item : m_items) {
        const auto gone =
            std::remove_if(item.files.begin(), item.files.end(),
                           [&fileId](const FileItem &file) { return file.file_id == fileId; });
        item.files.erase(gone, item.files.end());
    }
}

void FolderPath::setFileName(const QString &fileId, const QString &name)
{
    for (PathItem &item : m_items) {
        for (FileItem &file : item.files) {
            if (file.file_id == fileId)
                file.name = name;
        }
    }
}

void FolderPath::forget(const QString &folderId)
{
    for (PathItem &item : m_items) {
        if (item.fileId == folderId)
            item.loaded = false;
    }
}

void FolderPath::showRow(int index)
{
    const QString text = shortened(m_items.at(index).name);
    const bool isLast = index == count() - 1;
    m_model.item(index)->setText(isLast ? text : text + QLatin1Char('>'));
}
