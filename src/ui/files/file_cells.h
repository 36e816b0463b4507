#pragma once

#include <array>

#include "ui/files/file_columns.h"

class FileItem;
class QTableWidgetItem;
class SortTableWidgetItem;
enum class FileKind;

// The cells of one entry in the file table, one for each column.
using FileCells = std::array<SortTableWidgetItem *, FileColumnCount>;

// New ones, the caller's, without a sign of what was watched.
[[nodiscard]] FileCells makeFileCells(const FileItem &file, FileKind kind);

// What the drive has changed of the entry; its size and sort place stay.
void showRecord(const FileCells &cells, const FileItem &file, FileKind kind);

// Icon and signs say to the eye alone what an entry is: the name cell says it in words.
void speak(const FileCells &cells);
