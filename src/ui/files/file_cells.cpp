#include "ui/files/file_cells.h"

#include <QDateTime>
#include <QIcon>

#include "api/records/file_records.h"
#include "app/environment/formatting.h"
#include "player/session/watched_videos.h"
#include "ui/files/file_kinds.h"
#include "ui/files/file_table.h"
#include "ui/widgets/sort_table_widget_item.h"

static_assert(FileTable::ColumnCount == FileColumnCount, "a column lacks its row and its cell");

namespace {

QDateTime timeOf(const QString &serverTime)
{
    return QDateTime::fromString(serverTime, Qt::ISODateWithMs);
}

QString textOf(const QDateTime &time)
{
    return time.isValid() ? formatDateTime(time.toLocalTime()) : QString();
}

} // namespace

FileCells makeFileCells(const FileItem &file, FileKind kind)
{
    const bool isFolder = kind == FileKind::Folder;
    const QDateTime updated = timeOf(file.updated_at);
    const std::array cells{
        SortTableWidgetItem::forName(file.name),
        SortTableWidgetItem::forValue(isFolder ? QString() : formatSize(file.size),
                                      file.size.toLongLong()),
        SortTableWidgetItem::forValue(textOf(updated), updated.toMSecsSinceEpoch()),
        SortTableWidgetItem::forName(typeText(file))};
    for (SortTableWidgetItem *cell : cells) {
        cell->setData(SortTableWidgetItem::FolderRole, isFolder);
        cell->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    }
    SortTableWidgetItem *name = cells[FileTable::NameColumn];
    name->setFlags(name->flags() | Qt::ItemIsEditable);
    name->setIcon(iconOf(kind));
    name->setData(FileTable::FileIdRole, file.file_id);
    cells[FileTable::SizeColumn]->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    speak(cells);
    return cells;
}

void showRecord(const FileCells &cells, const FileItem &file, FileKind kind)
{
    cells[FileTable::NameColumn]->setText(file.name);
    cells[FileTable::NameColumn]->setIcon(iconOf(kind));
    cells[FileTable::TypeColumn]->setText(typeText(file));
    const QDateTime updated = timeOf(file.updated_at);
    cells[FileTable::UpdatedColumn]->setText(textOf(updated));
    cells[FileTable::UpdatedColumn]->setData(SortTableWidgetItem::SortValueRole,
                                             updated.toMSecsSinceEpoch());
    speak(cells);
}

void speak(const FileCells &cells)
{
    SortTableWidgetItem *name = cells[FileTable::NameColumn];
    QStringList parts{name->text(), cells[FileTable::TypeColumn]->text()};
    const QString watched = watchedText(name->data(FileTable::WatchedRole).toInt());
    if (!watched.isEmpty()) {
        parts << watched;
    }
    if (name->data(FileTable::LastPlayedRole).toBool()) {
        parts << QStringLiteral("上次播放");
    }
    name->setData(Qt::AccessibleTextRole, parts.join(QStringLiteral("，")));
}
