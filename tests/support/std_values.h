#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include <QtTest>

// Values of the standard library and JSON as test data, shown in full where they differ.
Q_DECLARE_METATYPE(std::string)

namespace QTest {

template <>
inline char *toString(const std::string &text)
{
    return qstrdup(text.c_str());
}

template <>
inline char *toString(const nlohmann::json &json)
{
    return qstrdup(json.dump().c_str());
}

} // namespace QTest
