#pragma once

#include <QString>

class QPainter;
class QRect;

// What an empty list says in its middle: a pale picture above a line of quiet text.
struct Notice
{
    QString text; // empty: nothing is said
    QString iconPath;
};

// Paints the notice in the middle of the area, in the painter's pen.
void paintNotice(QPainter &painter, const QRect &area, const Notice &notice);
