#pragma once

#include <memory>

#include <QMutex>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVector>

#include "db/dq/dq_sql_statement.h"

class DQModelMetaInfo;

// What the copies of a DQConnection share.
class DQConnectionPriv final
{
public:
    QSqlDatabase database;
    std::unique_ptr<DQSqlStatement> statement;
    QVector<DQModelMetaInfo *> models;
    QMutex mutex; // guards models and lastQuery
    QSqlQuery lastQuery;
    int openTransactions = 0; // nested ones included
    bool rollbackOnly = false;
};
