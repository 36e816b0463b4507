#pragma once

#include <QtGlobal>

// A message handler for qInstallMessageHandler that appends one time-stamped record per message to
// "error.log" beside the executable. The file is opened and closed for every message, so that a
// crash loses none; a file that cannot be written drops messages silently. Any thread.
void fileMessageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message);
