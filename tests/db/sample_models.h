#pragma once

#include <QByteArray>
#include <QDate>
#include <QStringList>
#include <QTime>

#include "db/dq/dq_list.h"
#include "db/dq/dq_model.h"
#include "db/dq/dq_stream.h"

class Director final : public DQTable<Director>
{
public:
    static constexpr DQNames names{"Director"};

    DQField<QString> name{this, "name", DQNotNull | DQUnique};
    DQField<int> teacher{this, "teacher", DQForeignKey<Director>};
};

class Film final : public DQTable<Film>
{
public:
    static constexpr DQNames names{"Film", "Films"};

    DQField<QString> title{this, "title", DQUnique | DQNotNull};
    DQField<int> year{this, "year", DQDefault(1895)};
    DQField<double> rating{this, "rating", DQClause()};
    DQField<QDateTime> added{this, "added", DQNotNull | DQDefault("CURRENT_TIMESTAMP")};
    DQField<int> director{this, "director", DQForeignKey<Director> | DQDefault(0)};
    DQField<int> second{this, "second", DQDefault(0.5) | DQForeignKey<Director>};
};

class EveryType final : public DQTable<EveryType>
{
public:
    static constexpr DQNames names{"EveryType"};

    DQField<bool> flag{this, "flag"};
    DQField<int> number{this, "number"};
    DQField<uint> natural{this, "natural"};
    DQField<qlonglong> big{this, "big"};
    DQField<qulonglong> bigNatural{this, "bigNatural"};
    DQField<double> real{this, "real"};
    DQField<QString> text{this, "text"};
    DQField<QStringList> texts{this, "texts"};
    DQField<QByteArray> bytes{this, "bytes"};
    DQField<QDate> day{this, "day"};
    DQField<QTime> hour{this, "hour"}; // SQLite has no type for it
    DQField<QDateTime> moment{this, "moment"};
};

class Genre final : public DQTable<Genre>
{
public:
    static constexpr DQNames names{"Genre"};

    [[nodiscard]] bool clean() override { return name.value() != "forbidden"; }

    [[nodiscard]] DQSharedList initialData() const override
    {
        DQList<Genre> list;
        DQStream(dqMetaInfo<Genre>(), list) << "drama" << 2 << "comedy" << 1;
        return list;
    }

    DQField<QString> name{this, "name", DQNotNull};
    DQField<int> rank{this, "rank"};
};
