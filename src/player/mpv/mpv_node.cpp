#include "player/mpv/mpv_node.h"

namespace {

QVariantList listFromNodes(const mpv_node_list &nodes)
{
    QVariantList values;
    values.reserve(nodes.num);
    for (int i = 0; i < nodes.num; ++i) {
        values.append(variantFromNode(nodes.values[i]));
    }
    return values;
}

QVariantMap mapFromNodes(const mpv_node_list &nodes)
{
    QVariantMap values;
    for (int i = 0; i < nodes.num; ++i) {
        values.insert(QString::fromUtf8(nodes.keys[i]), variantFromNode(nodes.values[i]));
    }
    return values;
}

} // namespace

MpvNode::MpvNode(const QVariant &value) : m_root(convert(value)) {}

mpv_node MpvNode::convert(const QVariant &value)
{
    mpv_node node{};
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::QString:
        return convertText(value.toString());
    case QMetaType::Bool:
        node.format = MPV_FORMAT_FLAG;
        node.u.flag = value.toBool() ? 1 : 0;
        return node;
    case QMetaType::Int:
    case QMetaType::LongLong:
        node.format = MPV_FORMAT_INT64;
        node.u.int64 = value.toLongLong();
        return node;
    case QMetaType::Double:
        node.format = MPV_FORMAT_DOUBLE;
        node.u.double_ = value.toDouble();
        return node;
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return convertList(value.toList());
    case QMetaType::QVariantMap:
        return convertMap(value.toMap());
    default:
        node.format = MPV_FORMAT_NONE;
        return node;
    }
}

mpv_node MpvNode::convertText(const QString &text)
{
    mpv_node node{};
    node.format = MPV_FORMAT_STRING;
    node.u.string = keep(text);
    return node;
}

mpv_node MpvNode::convertList(const QVariantList &values)
{
    Branch &branch = grow(values.size());
    for (const QVariant &value : values) {
        branch.values.push_back(convert(value));
    }
    branch.list.values = branch.values.data();
    mpv_node node{};
    node.format = MPV_FORMAT_NODE_ARRAY;
    node.u.list = &branch.list;
    return node;
}

mpv_node MpvNode::convertMap(const QVariantMap &values)
{
    Branch &branch = grow(values.size());
    for (auto entry = values.cbegin(); entry != values.cend(); ++entry) {
        branch.keys.push_back(keep(entry.key()));
        branch.values.push_back(convert(entry.value()));
    }
    branch.list.values = branch.values.data();
    branch.list.keys = branch.keys.data();
    mpv_node node{};
    node.format = MPV_FORMAT_NODE_MAP;
    node.u.list = &branch.list;
    return node;
}

char *MpvNode::keep(const QString &text)
{
    m_texts.push_back(text.toUtf8());
    return m_texts.back().data();
}

MpvNode::Branch &MpvNode::grow(int size)
{
    Branch &branch = m_branches.emplace_back();
    branch.values.reserve(static_cast<size_t>(size));
    branch.list.num = size;
    return branch;
}

QVariant variantFromNode(const mpv_node &node)
{
    switch (node.format) {
    case MPV_FORMAT_STRING:
        return QString::fromUtf8(node.u.string);
    case MPV_FORMAT_FLAG:
        return node.u.flag != 0;
    case MPV_FORMAT_INT64:
        return static_cast<qlonglong>(node.u.int64);
    case MPV_FORMAT_DOUBLE:
        return node.u.double_;
    case MPV_FORMAT_NODE_ARRAY:
        return listFromNodes(*node.u.list);
    case MPV_FORMAT_NODE_MAP:
        return mapFromNodes(*node.u.list);
    default:
        return {};
    }
}
