#pragma once

// The names of a model: of its class, and of its table when that is called differently.
struct DQNames
{
    const char *className;
    const char *tableName;

    constexpr explicit DQNames(const char *name) : DQNames(name, name) {}
    constexpr DQNames(const char *klass, const char *table) : className(klass), tableName(table) {}
};
