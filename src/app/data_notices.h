#pragma once

class QMainWindow;

// What the user is told of settings and a database that cannot be used as they should.

// Waits, in a window that says so, as long as another process holds the database locked. False when
// the user would rather end the program.
[[nodiscard]] bool waitForDatabase();

// Says what start-up found: what is not kept, and where a file lies that was no database.
void tellOfUnusableData();

// Shows a sign in the window's status bar whenever changes wait in memory for the disk to take
// them.
void showUnwrittenData(QMainWindow &window);
