#pragma once

class QCollator;
class QString;

// The order in which people expect names: numbers by value ("第2集" before "第10集"), Chinese by
// the locale's rules (pinyin unless the locale is another Chinese one), upper and lower case alike.
const QCollator &naturalCollator();
bool naturalLess(const QString &left, const QString &right);
