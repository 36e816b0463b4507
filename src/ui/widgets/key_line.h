#pragma once

#include <QString>

// A line of the page of keys.
struct KeyLine
{
    QString keys;
    QString text; // what they do
    bool beginsGroup = false;
};
