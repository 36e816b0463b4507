#pragma once

#include <QColor>

class QPainter;
class QPoint;
class QRectF;

// The signs by which lists show how far the user has come in a video.

// What they are painted with: the skin knows the ground that they must be told from.
struct SignColours
{
    QColor sign;
    QColor onSign;
};

// A thin bar, filled up to the percentage.
void paintProgress(QPainter &painter, const QRectF &bar, int percent, const SignColours &colours);

// A tick in a disc around the point.
void paintTick(QPainter &painter, const QPoint &centre, const SignColours &colours);
