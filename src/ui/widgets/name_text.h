#pragma once

#include <QString>

// Names come from the drive and are shown as they are, whatever they hold.

// The name with a mark in the place of each character that would not be seen but would change what
// is: turn the reading direction, so that "abc\u202Egpj.exe" reads as a picture, break the line or
// join others. For the eye only; what is sent or stored is the name itself.
QString visibleName(const QString &name);

// The text for a tool tip that shows a name: what looks like markup in it is not rendered, and a
// long one is broken into lines instead of running off the screen.
QString nameTip(const QString &name);
