#pragma once

class QString;

// The log's line for an operation whose request failed, for example
//     getFileList fail : 203  => "Error transferring ..."
// The code is the one of the fail callbacks: Qt's network error, or -1 for a local failure.
void logFailure(const QString &operation, int code, const QString &error);

// The line of the requests for a video's addresses, which has the text first, for example
//     getPlayInfo fail :  "Error transferring ..."  => 203
void logAddressFailure(const QString &operation, const QString &error, int code);
