#pragma once

#include <QString>
#include <QStringList>

class DQModelMetaInfo;

// An index on some columns of a model's table. The model is not owned.
struct DQIndex
{
    QString name;
    const DQModelMetaInfo *model = nullptr;
    QStringList columns;
};
