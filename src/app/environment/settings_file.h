#pragma once

#include <memory>

#include <QSettings>
#include <QString>

[[nodiscard]] QString settingsFilePath();

// Opens the one settings file, readable by its owner only. Every object over that file must come
// from here: Qt keeps one codec per file and process, and the first object decides it.
//
// Where something else lies at the file's path, such as a folder or a pipe, the settings start with
// the defaults and live as long as the process.
std::unique_ptr<QSettings> openSettingsFile();

// Whether what is set outlives the process.
[[nodiscard]] bool isSettingsFileUsable();
