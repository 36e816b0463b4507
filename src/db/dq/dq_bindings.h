#pragma once

#include <QString>
#include <QVariant>
#include <QVector>

// A value and the placeholder that stands for it in a statement.
struct DQBinding
{
    QString placeholder;
    QVariant value;
};

// In the order of the placeholders in the statement.
using DQBindings = QVector<DQBinding>;
