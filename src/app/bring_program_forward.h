#pragma once

// Brings the program's window before those of others, also when it was minimised, and what the user
// is asked in a window of its own before that. False when there is neither.
bool bringProgramForward();
