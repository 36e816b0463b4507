#pragma once

class QByteArray;
class QFileDevice;

// Writes all the bytes and empties the file's buffer, so that a full disk shows here and not when
// the file is closed, where QSaveFile does not notice it. On failure the file's error says why.
bool writeThrough(QFileDevice &file, const QByteArray &bytes);
