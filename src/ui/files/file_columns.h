#pragma once

#include <array>

#include <QString>

struct FileColumn
{
    QString label;
    int width;          // to begin with, in pixels
    QString orderField; // the drive's word for the order by it
};

constexpr int FileColumnCount = 4;

// Those of the file table, in its order, which is FileTable::Column's and that of FileCells.
const std::array<FileColumn, FileColumnCount> &fileColumns();
