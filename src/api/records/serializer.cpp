#include "api/records/serializer.h"

#include <QJsonDocument>
#include <QVariant>

QSerializer::PropertyTable::PropertyTable(const QMetaObject &metaObject) : m_metaObject(&metaObject)
{
    for (int index = 0; index < metaObject.propertyCount(); ++index) {
        const QMetaProperty property = metaObject.property(index);
        if (property.userType() == QMetaType::QJsonValue) {
            m_entries.push_back({QString::fromLatin1(property.name()), index});
        }
    }
}

const QSerializer::PropertyTable &QSerializer::propertyTable() const
{
    static const PropertyTable table(staticMetaObject);
    return table;
}

QJsonObject QSerializer::toJson() const
{
    const PropertyTable &table = propertyTable();
    QJsonObject object;
    for (const PropertyTable::Entry &entry : table.m_entries) {
        const QMetaProperty property = table.m_metaObject->property(entry.index);
        object.insert(entry.key, property.readOnGadget(this).toJsonValue());
    }
    return object;
}

void QSerializer::fromJson(const QJsonValue &value)
{
    if (!value.isObject()) {
        return;
    }
    const QJsonObject object = value.toObject();
    const PropertyTable &table = propertyTable();
    for (const PropertyTable::Entry &entry : table.m_entries) {
        const auto field = object.constFind(entry.key);
        if (field != object.constEnd()) {
            const QMetaProperty property = table.m_metaObject->property(entry.index);
            property.writeOnGadget(this, QVariant::fromValue(QJsonValue(*field)));
        }
    }
}

QJsonValue field_conversion::plainToJson(const QVariant &value)
{
    return QJsonValue::fromVariant(value);
}

QVariant field_conversion::jsonToPlain(const QJsonValue &value, int metaTypeId)
{
    QVariant plain = value.toVariant();
    plain.convert(metaTypeId);
    return plain;
}

QString recordToText(const QSerializer &record)
{
    return QString::fromUtf8(QJsonDocument(record.toJson()).toJson(QJsonDocument::Compact));
}

QJsonValue objectFromText(const QString &jsonText)
{
    const QJsonDocument document = QJsonDocument::fromJson(jsonText.toUtf8());
    return document.isObject() ? QJsonValue(document.object()) : QJsonValue();
}
