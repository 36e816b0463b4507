#pragma once

#include <QString>

// What became of a request that changes the drive, by the network error that its callback got.

// The text, with the reason behind it where the code tells one: "移动失败：没有权限".
QString withReason(const QString &text, int code);

// The drive may have carried the change out all the same, or was changed before: only a listing
// says what is true.
bool leavesOpenWhatIsTrue(int code);
