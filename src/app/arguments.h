#pragma once

#include <optional>

// Reads the command line before anything else of the program runs or a display is needed. Answers
// --help, --version and what it does not understand; the result is then the process's exit code
// (2 for a mistake). Empty when the program shall start. --quiet ends the debug messages of the
// process, unless QT_LOGGING_RULES asks for them. Options of Qt itself pass.
std::optional<int> answerArguments(int argc, char *argv[]);
