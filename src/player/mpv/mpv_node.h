#pragma once

#include <deque>
#include <vector>

#include <QByteArray>
#include <QVariant>

#include "player/mpv/mpv_library.h"

// A value in the form in which libmpv takes it. Text becomes a string, bool a flag, the integers
// INT64, double a double, lists an array, string-keyed maps a map; anything else has no format.
// Owns all memory of the tree; libmpv copies what it keeps.
class MpvNode final
{
    Q_DISABLE_COPY_MOVE(MpvNode)

public:
    explicit MpvNode(const QVariant &value);

    mpv_node *get() { return &m_root; }

private:
    struct Branch
    {
        std::vector<mpv_node> values;
        std::vector<char *> keys;
        mpv_node_list list{};
    };

    mpv_node convert(const QVariant &value);
    mpv_node convertText(const QString &text);
    mpv_node convertList(const QVariantList &values);
    mpv_node convertMap(const QVariantMap &values);
    char *keep(const QString &text);
    Branch &grow(int size);

    // Deques: what is pointed to must not move while the tree grows.
    std::deque<QByteArray> m_texts;
    std::deque<Branch> m_branches;
    mpv_node m_root{};
};

// The reverse: a node that libmpv delivered, copied. A node without a format is an invalid value.
QVariant variantFromNode(const mpv_node &node);
