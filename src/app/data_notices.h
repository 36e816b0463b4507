#pragma once

#include <QString>

class QMainWindow;

// What the user is told of settings and a database that cannot be used as they should.

// Waits, in a window that says so, as long as another process holds the database locked. False when
// the program is to end: the user chose that or closed the window, or a signal asks for it.
[[nodiscard]] bool waitForDatabase();

// Closes the database; tells, in a window, as long as changes are not written that would be lost
// then, and offers to try again.
void closeDatabaseOrTell();

// Says what start-up found: what is not kept, and where a file lies that was no database. Returns
// that file's path; empty when there is none.
[[nodiscard]] QString tellOfUnusableData();

// Shows a sign in the window's status bar whenever changes wait in memory for the disk to take
// them, and says when a damaged file has been put aside; of `putAsideTold` the user knows already.
void watchDatabase(QMainWindow &window, const QString &putAsideTold);
