#pragma once

#include <optional>

struct Arguments
{
    // The process's exit code (2 for a mistake), where there is nothing left to do; empty when the
    // program shall start.
    std::optional<int> exitCode;
    bool isNewInstance = false; // also beside one that has the same data folder
};

// Reads the command line before anything else of the program runs or a display is needed. Answers
// --help, --version and what it does not understand. --quiet ends the debug messages of the
// process, unless QT_LOGGING_RULES asks for them. Options of Qt itself pass.
Arguments answerArguments(int argc, char *argv[]);
