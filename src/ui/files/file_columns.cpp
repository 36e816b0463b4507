#include "ui/files/file_columns.h"

const std::array<FileColumn, FileColumnCount> &fileColumns()
{
    static const std::array columns{
        FileColumn{QStringLiteral("文件"), 360, QStringLiteral("name")},
        FileColumn{QStringLiteral("大小"), 112, QStringLiteral("size")},
        FileColumn{QStringLiteral("更新时间"), 180, QStringLiteral("updated_at")},
        // The drive cannot order by type.
        FileColumn{QStringLiteral("类型"), 90, QStringLiteral("updated_at")}};
    return columns;
}
