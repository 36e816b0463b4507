#pragma once

#include "db/dq/dq_sql_statement.h"

// SQLite's column types and constraints.
class DQSqliteStatement final : public DQSqlStatement
{
public:
    [[nodiscard]] QString driverName() const override;

    // A column whose value type SQLite has no type for is left out, with a warning.
    [[nodiscard]] QString createTable(const DQModelMetaInfo &model) const override;
};
