#include "ui/files/file_columns.h"

const QVector<FileColumn> &fileColumns()
{
    static const QVector<FileColumn> columns{
        {QStringLiteral("文件"), 360, QStringLiteral("name")},
        {QStringLiteral("大小"), 112, QStringLiteral("size")},
        {QStringLiteral("更新时间"), 180, QStringLiteral("updated_at")},
        // The drive cannot order by type.
        {QStringLiteral("类型"), 90, QStringLiteral("updated_at")}};
    return columns;
}
