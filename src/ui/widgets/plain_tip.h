#pragma once

#include <QString>

// The text for a tool tip that shows a name as it is: what looks like markup in it is not
// rendered, and a long one is broken into lines instead of running off the screen.
QString plainTip(const QString &text);
