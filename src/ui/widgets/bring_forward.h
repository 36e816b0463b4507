#pragma once

class QWidget;

// Brings the window before those of others, also when it was minimised.
void bringForward(QWidget &window);
