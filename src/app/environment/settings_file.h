#pragma once

#include <memory>

#include <QSettings>

// Opens the one settings file, readable by its owner only. Every object over that file must come
// from here: Qt keeps one codec per file and process, and the first object decides it.
std::unique_ptr<QSettings> openSettingsFile();
