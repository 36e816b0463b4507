#pragma once

#include <QString>
#include <QVector>

struct FileColumn
{
    QString label;
    int width;          // to begin with, in pixels
    QString orderField; // the drive's word for the order by it
};

// Those of the file table, in its order.
const QVector<FileColumn> &fileColumns();
