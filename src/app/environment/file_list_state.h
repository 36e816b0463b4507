#pragma once

#include "api/records/serializer.h"

// The saved layout of the file list's header.
class FileListState final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(int, sortIndex)             // column of the sort indicator
    FIELD(int, sortOrder)             // Qt::SortOrder
    FIELD(QString, fileTypeList)      // text of the file-type filter
    FIELD(QList<int>, columnSizeList) // width of every column in pixels, in column order
};
