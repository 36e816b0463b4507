#pragma once

#include <functional>
#include <optional>

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "db/dq/dq_list.h"
#include "db/dq/dq_where.h"
#include "db/tables/folder_setting.h"
#include "db/tables/play_history.h"
#include "db/tables/user_info.h"

// The application's operations on its three tables. Each save finds out by the natural key
// (userId, fileId, folderId) whether the row is new. It writes the whole row: a field that is null
// in the record takes its column's default, so load a row first to keep what it holds. A row that
// is written without its `id` gets a new one and moves to the end of the table; an `id` that is no
// longer the row's is put right.
//
// Failures are logged as warnings; a record whose save failed keeps the `id` that it had.

// What looking for one row has come to. Failed: the database could not tell.
enum class LookUp { Found, NoRow, Failed };

// Publishes a new Database handle on the application's file, unless there is one. The caller
// takes over what database() returns then.
void openDatabase();

// --- users

// Empty when no user has this token.
[[nodiscard]] QString userIdForAccessToken(const QVariant &accessToken);

// Writes the user. The clock of the tokens, `updateTime`, starts anew when the tokens differ
// from the stored ones or come from a login (`tokenExpiresIn` is set, `updateTime` is not), and
// stays when not; it never goes back. A record that was loaded before the stored
// tokens were renewed takes over the stored ones: its own can not be used any more.
void saveUserInfo(UserInfo &info);

// False, and the record stays as it is, when the user is not stored.
bool loadUserInfo(const QString &userId, UserInfo &info);
// The same, for a caller to whom a user that is not stored is not one that cannot be read.
[[nodiscard]] LookUp lookUpUser(const QString &userId, UserInfo &info);

// In the order of the rows.
[[nodiscard]] QList<UserInfo> listUsers();
[[nodiscard]] int countUsers();
void removeUser(const QString &userId);

// Stores renewed tokens with their user and starts their clock; nothing else of the row changes.
// True once they are safe on disk, or in the memory of a session whose file takes no writes (see
// Database). A null `refreshToken` or `tokenType` keeps the stored one.
// `expiresIn` is in seconds.
[[nodiscard]] bool storeTokens(const QString &userId, const QString &accessToken,
                               const QString &refreshToken, const QString &tokenType,
                               int expiresIn);

// Gives a stored user who has no name this one; nothing else of the row changes.
void storeMissingNickname(const QString &userId, const QString &nickname);

// --- folders

using FolderChange = std::function<void(FolderSetting &setting)>;

// An empty record with a null `id` when the folder is not stored.
void loadFolderSetting(const QString &folderId, FolderSetting &setting);

// A row that is not new gets the current time as `updateTime`.
void saveFolderSetting(FolderSetting &setting);

// Changes the folder's row as it is stored at that moment, or an empty one, and saves it; `changed`
// is that row then. What other processes write to the row meanwhile is not lost. `change` may be
// called twice, each time with a row that was read anew.
void changeFolderSetting(const QString &folderId, const FolderChange &change,
                         FolderSetting &changed);

// Sets both skip positions of a stored folder to 0, and `updateTime` to the current time.
void clearSkipPositions(const QString &folderId);

// Removes the settings of every user.
void clearFolderSettings();

// --- history

// Makes the row the newest of the list, sets `playPercentage` from position and duration (0 to 1,
// 0 without a duration), and a null position or duration to 0.
void savePlayHistory(PlayHistory &history);

// The same for the video's row as it is stored at that moment, or an empty one, after a change. The
// row as it was saved; nothing when it could not be. `change` may be called twice, each time with a
// row that was read anew.
using HistoryChange = std::function<void(PlayHistory &history)>;
std::optional<PlayHistory> changePlayHistory(const QString &fileId, const HistoryChange &change);

// False, and the record stays as it is, when the video is not in the history.
bool loadPlayHistory(const QString &fileId, PlayHistory &history);
// The same, for a caller to whom a video without a row is not one whose row cannot be read.
[[nodiscard]] LookUp lookUpPlayHistory(const QString &fileId, PlayHistory &history);

// The current user's rows, the most recently played first; replaces what `list` held.
void listPlayHistory(DQList<PlayHistory> &list);

// The user's rows of these videos, by file id; those that were never played have none.
[[nodiscard]] QHash<QString, PlayHistory> playHistoryOf(const QString &userId,
                                                        const QStringList &fileIds);

void removePlayHistory(const QString &fileId);
// All of them, or none when that cannot be.
void removePlayHistory(const QStringList &fileIds);

// Removes the current user's rows.
void clearPlayHistory();

// Puts removed rows back as they were, with their times. Those whose video has been watched again
// meanwhile stay as they are now. False when they are not all there now.
bool restorePlayHistory(const QList<PlayHistory> &removed);

// --- single rows of any table

// False, and the record stays as it is, when there is no such row.
bool loadRowById(int id, DQModel &record);

// Loads the row, changes one field and saves it, at once for all processes. `record` is the
// changed row then. False when there is no such row or field, or the value does not suit it.
bool changeFieldById(int id, const QString &fieldName, const QVariant &value, DQModel &record);
